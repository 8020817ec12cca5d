// Answers in JSON, for scripts. The library prints members; texts are escaped here.
#ifndef CONSOLE_JSON_H
#define CONSOLE_JSON_H

#include <string>

/// Prints the header lines and opens the object.
void open_json();
void close_json();

/// Print a member; flags and result as for the library's JSON printers.
unsigned json_text(const std::string &value, const char *name, unsigned flags);
unsigned json_number(unsigned value, const char *name, unsigned flags);

/// Open and close a member that is an object; the one behind it takes what close returns.
unsigned json_open(const char *name, unsigned flags);
unsigned json_close();

std::string json_escape(const std::string &text);

#endif
