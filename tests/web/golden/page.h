// What the files of this program share: where a request's data is, and the rows of the page.
#ifndef GOLDEN_PAGE_H
#define GOLDEN_PAGE_H

#include <qmv.h>

#include <cstring>
#include <span>
#include <string>

// Where the widgets' data is, in directories and files that the test fills.
struct Page {
    explicit Page(const std::string &state)
        : items(state + "/items"),
          certificates(state + "/certificates"),
          records(state + "/records") {}

    [[nodiscard]] const char *dir() const { return items.c_str(); }

    std::string items;
    std::string certificates;
    std::string records;
};

// The variables of a posted form.
class Posted {
  public:
    Posted(cgivar *vars, unsigned count) : vars_(vars, count) {}

    // Null when there is no variable of that name: a field that is disabled or not checked.
    [[nodiscard]] char *find(const std::string &name) const {
        for (const cgivar &var : vars_) {
            if (name == var.name)
                return var.value;
        }
        return nullptr;
    }

  private:
    std::span<cgivar> vars_;
};

constexpr unsigned kLongestItem = 4096;

// A field's id, its name in the form and the name of its item are the same.
constexpr char kIdAndName[] = " id=\"%s\" name=\"%s\"";

// widgets.cpp: a row of the page, whose label is the field's name.
void open_row(const std::string &name);
void close_row();
std::string id_attribute(const std::string &name);
std::string read_text(const Page &page, const char *name);
void write_text(const Page &page, const char *name, const std::string &text);

// One file for each group of widgets.
void print_texts(const Page &page);
void save_texts(const Page &page, const Posted &posted);
void print_areas(const Page &page);
void save_areas(const Page &page, const Posted &posted);
void print_selects(const Page &page);
void save_selects(const Page &page, const Posted &posted);
void print_listings(const Page &page);
void save_listings(const Page &page, const Posted &posted);
void print_buttons(const Page &page);
void save_buttons(const Page &page, const Posted &posted);
void print_numbers(const Page &page);
void save_numbers(const Page &page, const Posted &posted);
void print_ranges(const Page &page);
void save_ranges(const Page &page, const Posted &posted);
void print_schedules(const Page &page);
void save_schedules(const Page &page, const Posted &posted);
void print_addresses(const Page &page);
void save_addresses(const Page &page, const Posted &posted);

#endif
