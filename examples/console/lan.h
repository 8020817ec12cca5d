// The forms of the LAN page.
#ifndef CONSOLE_LAN_H
#define CONSOLE_LAN_H

#include "frame/console.h"

void print_network(Console &console);
void save_network(Console &console);

void print_routes(Console &console);
void save_routes(Console &console);

void print_ports(Console &console);
void save_ports(Console &console);

#endif
