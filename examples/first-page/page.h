// What the files of this program share: the state of one request, and what they do with it.
#ifndef FIRST_PAGE_PAGE_H
#define FIRST_PAGE_PAGE_H

#include <qmv.h>

#include <string>
#include <vector>

struct Message {
    const char *kind;  // "good", "same" or "bad", a class of the style sheet
    std::string text;
};

// Handed to the library's callbacks as their context.
struct Page {
    std::string items;    // directory of the items
    std::string uploads;  // directory of the uploaded files
    std::vector<Message> messages;

    void say(const char *kind, const std::string &text) { messages.push_back({kind, text}); }
};

// settings.cpp: a box for each item, and writing what comes back.
void print_fields(const Page &page);
void save_fields(Page &page, const cgivar *vars, unsigned count);

// upload.cpp: storing files, and removing what a killed process left of one.
int receive_part(Page &page, const cgivar *vars, unsigned count);
void remove_leftovers(const Page &page);

#endif
