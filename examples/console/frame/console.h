// The frame that all pages of the console share: who is asking, what was posted, refusals beside
// the fields, the outcome of a save, and the page around it all.
//
// A page is a program of this shape:
//
//     int main() {
//         Console console(kHosts);
//         if (console.is_form("hosts"))
//             save(console);
//         console.open_page();
//         console.open_form("hosts", "Names of this network");
//         ... print fields ...
//         console.close_form("Save");
//         console.close_page();
//         return 0;
//     }
//
// The constructor answers what must not go on, a wrong token for example, and ends the program.
#ifndef CONSOLE_CONSOLE_H
#define CONSOLE_CONSOLE_H

#include <qmv.h>

#include <map>
#include <string>
#include <string_view>
#include <vector>

enum Level { kNobody = 0, kReadOnly = 1, kAdministrator = 2 };

// A page of the console, and its place in the navigation.
struct Page {
    const char *name;  // of the program and of the icon, without an extension
    const char *title;
    Level may_post = kNobody;  // who may send its forms
    const char *scripts[2] = {};
    unsigned max_bytes = 256 * 1024;  // of a form, or of its file
};

// An input with its name in forms, its label, and a hint below it (or null).
struct Field {
    const char *name;
    const char *label;
    const char *hint = nullptr;
};

class Upload;

/// A text with what HTML would take for markup escaped: for attributes, which are printed as they
/// are, and for what was typed, all of which is shown again: the library's own printers end at a
/// character that it cannot store.
std::string html_text(const std::string &text);

class Console {
  public:
    explicit Console(const Page &page, Upload *upload = nullptr);
    Console(const Console &) = delete;
    Console &operator=(const Console &) = delete;

    // ---- The request ----
    [[nodiscard]] bool is_post() const { return is_post_; }
    /// Whether this form of the page was posted.
    [[nodiscard]] bool is_form(std::string_view form) const {
        return is_post_ && has("form") && form == value("form");
    }
    [[nodiscard]] const std::string &user() const { return user_; }
    [[nodiscard]] bool may_post() const { return level_ >= page_.may_post; }
    [[nodiscard]] bool is_administrator() const { return level_ == kAdministrator; }

    /// Value of a variable that was posted, or of one in the address of a GET; null without it.
    [[nodiscard]] const char *value(std::string_view name) const;
    [[nodiscard]] bool has(std::string_view name) const { return value(name) != nullptr; }

    // ---- Where things are stored ----
    [[nodiscard]] std::string path(std::string_view below) const;
    [[nodiscard]] std::string items(std::string_view group) const;
    [[nodiscard]] std::string item(std::string_view group, const char *name) const;

    // ---- Checking what was posted; see check.cpp ----
    /// Refuses a field; the first reason counts.
    void refuse(const Field &field, const std::string &why) { refusals_.emplace(field.name, why); }
    [[nodiscard]] bool accepted() const { return refusals_.empty(); }

    // ---- The outcome ----
    void say(const char *kind, const std::string &text) { messages_.push_back({kind, text}); }
    /// Notes what writing an item came to: above 0 changed, 0 unchanged, below 0 failed.
    void wrote(const char *label, int result);
    /// Says what was changed and what was not, or that fields were refused, and logs it.
    void report();
    void log(const std::string &what) const;
    /// Answers with an error page and ends the program.
    [[noreturn]] void stop(const char *status, const std::string &why);

    // ---- The page ----
    void open_page() const;
    void close_page() const;
    /// Opens a form of this page, with its name, which is_form() tells when it was posted. Who may
    /// not post gets its fields disabled, and no form around them.
    void open_form(const char *form, const char *heading, const char *attributes = "");
    void next_section(const char *heading) const;
    /// Closes it behind a button that sends it; null: it has buttons of its own.
    void close_form(const char *button) const;
    void print_token();

    /// Prints a label, an input and, below it, why it was refused and its hint. The printer is
    /// handed the attributes of the input: its name, and what ties it to the label and the texts.
    template <typename Printer>
    void field(const Field &field, Printer print) const {
        open_field(field);
        print(attributes(field).c_str());
        close_field(field);
    }

    /// The same for a group of inputs that have labels of their own; each gets a name only.
    template <typename Printer>
    void group(const Field &field, Printer print) const {
        open_group(field);
        print();
        print_str("</div>");
        close_field(field);
    }

    /// The same for an input whose printer knows no attributes: the label encloses it.
    template <typename Printer>
    void labelled(const Field &field, Printer print) const {
        open_enclosing_label(field);
        print();
        print_str("</label>");
        close_field(field);
    }

    /// The same for a text box, which after a refusal shows what was typed instead of the item.
    template <typename Printer>
    void text_field(const Field &field, int max_chars, Printer print_stored) const {
        open_field(field);
        const std::string all = attributes(field);
        if (const char *typed = typed_text(field.name))
            print_typed(max_chars, typed, all.c_str());
        else
            print_stored(all.c_str());
        close_field(field);
    }

    /// A check box with its label behind it; the flags are those of rd_checkbox_item().
    void check_field(const Field &field, unsigned flags) const;

    /// Shows what was typed although no field was refused, since it could not be stored.
    void keep_typed() { keeps_typed_ = true; }
    /// Whether the form that is open was posted and refused, so that it shows what was typed.
    [[nodiscard]] bool is_typed() const;
    /// What was then typed into a field; null otherwise.
    [[nodiscard]] const char *typed_text(const char *name) const;
    [[nodiscard]] std::string attributes(const Field &field) const;

  private:
    struct Message {
        const char *kind;  // "good", "same" or "bad", a class of the style sheet
        std::string text;
    };

    void read_request();
    static int receive(void *console, cgivar *vars, unsigned count, unsigned mode);
    int take_part(const cgivar *vars, unsigned count);
    void require_method();
    void require_rights();
    bool lock_settings(int operation) const;
    void begin_change();
    [[nodiscard]] bool has_token() const;
    static void print_typed(int max_chars, const std::string &typed, const char *attributes);
    void open_section(const char *heading) const;
    [[nodiscard]] std::string description(const Field &field) const;
    [[nodiscard]] const char *field_class(const Field &field) const;
    void open_field(const Field &field) const;
    void open_group(const Field &field) const;
    void open_enclosing_label(const Field &field) const;
    void close_field(const Field &field) const;
    void print_navigation() const;
    void print_messages() const;

    const Page &page_;
    std::string state_;
    std::string user_;
    Level level_ = kNobody;
    bool is_post_ = false;
    bool is_broken_ = false;  // a part of a form was cut off or too large
    Upload *upload_;
    std::vector<std::pair<std::string, std::string>> variables_;
    std::map<std::string, std::string, std::less<>> refusals_;
    std::vector<Message> messages_;
    bool keeps_typed_ = false;
    const char *form_ = "";  // name of the form that is open, or was last
    std::string token_;      // made when the first form is printed
    std::vector<std::string> changed_;
    std::vector<std::string> unchanged_;
    std::vector<std::string> failed_;
};

#endif
