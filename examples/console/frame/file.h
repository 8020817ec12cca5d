// Files that are written whole or not at all.
#ifndef CONSOLE_FILE_H
#define CONSOLE_FILE_H

#include <string>

/// Writes a file under a temporary name and puts it in place of the old one. Returns whether that
/// worked; if not, the old one is as it was.
bool replace_file(const std::string &path, const std::string &text);

#endif
