/* What the parts of the program share. */
#ifndef CHECK_H
#define CHECK_H

#define _GNU_SOURCE
#include <fcntl.h>
#include <qmv.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

/* A directory for items and files, without "/" at the end. */
extern char dir[];

/* Says which call had another result than it must have. */
void check(const char *call, int holds);

/* Path of a file in the directory. */
char *in_dir(char *buffer, size_t size, const char *name);

/* A descriptor from which a text can be read. */
int input(const char *text);

void call_descriptors(void);
void call_encodings(void);
void call_files(void);
void call_cgi(void);
void call_html_text(void);
void call_html_page(void);
void call_items(void);
void call_tables(void);
void call_text_boxes(void);
void call_filters(void);
void call_select_boxes(void);
void call_buttons(void);
void call_numbers(void);
void call_addresses(void);
void call_accounts(void);
void call_certificates(void);
void call_shell(void);
void call_network(void);
void call_databases(void);
void call_devices(void);
void call_xml(void);

#endif
