// What the device says about itself right now, as texts under fixed keys: the overview prints them
// into the page, and the status program sends them to the page's script under the same keys.
#ifndef CONSOLE_STATUS_H
#define CONSOLE_STATUS_H

#include <map>
#include <string>

#include "frame/console.h"

/// Text by key, such as "down_rate"; a key is missing when the device does not say.
using Figures = std::map<std::string, std::string>;

Figures read_figures(const Console &console);

constexpr unsigned kPortCount = 4;

#endif
