// Forms: fields with their refusals, and the outcome of a save.
#include "frame/console.h"

namespace {

std::string list_of(const std::vector<std::string> &labels) {
    std::string list;
    for (const std::string &label : labels)
        list += (list.empty() ? "" : ", ") + label;
    return list;
}

}  // namespace

void Console::open_form(const char *form, const char *heading, const char *attributes) {
    form_ = form;
    if (may_post()) {
        std::printf("<form class=\"card\" method=\"post\" action=\"%s.cgi\" id=\"%s\"%s>\n",
                    page_.name, form, attributes);
        print_token();
        std::printf("<input type=\"hidden\" name=\"form\" value=\"%s\">\n", form);
    } else {
        std::printf("<div class=\"card\" id=\"%s\">\n", form);
    }
    open_section(heading);
}

// html_attr(1) is the attribute "disabled".
void Console::open_section(const char *heading) const {
    html_printf(1, "<fieldset%s>\n<legend>%s</legend>\n", html_attr(may_post() ? 0 : 1), heading);
}

void Console::next_section(const char *heading) const {
    print_str("</fieldset>\n");
    open_section(heading);
}

void Console::close_form(const char *button) const {
    if (may_post() && button != nullptr) {
        gen_xbutton(button, nullptr, PRINT_SUBMIT, " class=\"primary\"");
        print_str("\n");
    }
    print_str(may_post() ? "</fieldset>\n</form>\n" : "</fieldset>\n</div>\n");
}

const char *Console::field_class(const Field &field) const {
    return refusals_.count(field.name) != 0 ? "field refused" : "field";
}

void Console::open_field(const Field &field) const {
    std::printf("<div class=\"%s\">\n", field_class(field));
    std::printf("<label for=\"%s\">%s</label>\n", field.name, field.label);
}

void Console::open_group(const Field &field) const {
    std::printf("<div class=\"%s\">\n<p class=\"label\" id=\"%s\">%s</p>\n", field_class(field),
                field.name, field.label);
    std::printf("<div class=\"group\" role=\"group\" aria-labelledby=\"%s\"%s>\n", field.name,
                description(field).c_str());
}

void Console::open_enclosing_label(const Field &field) const {
    std::printf("<div class=\"%s\" role=\"group\" aria-label=\"%s\"%s>\n<label>%s\n",
                field_class(field), field.label, description(field).c_str(), field.label);
}

void Console::close_field(const Field &field) const {
    const auto refusal = refusals_.find(field.name);
    if (refusal != refusals_.end())
        html_printf(1, "\n<p class=\"error\" id=\"%s-error\">%s</p>", field.name,
                    refusal->second.c_str());
    if (field.hint != nullptr)
        html_printf(1, "\n<p class=\"hint\" id=\"%s-hint\">%s</p>", field.name, field.hint);
    print_str("\n</div>\n");
}

// Names are those of the program, never of a client: attributes are printed as they are.
std::string Console::attributes(const Field &field) const {
    const std::string name = field.name;
    return " id=\"" + name + "\" name=\"" + name + "\"" +
           (refusals_.count(name) != 0 ? " aria-invalid=\"true\"" : "") + description(field);
}

// What ties an input to its refusal and its hint.
std::string Console::description(const Field &field) const {
    const std::string name = field.name;
    const std::string error = refusals_.count(field.name) != 0 ? name + "-error" : "";
    const std::string hint = field.hint != nullptr ? name + "-hint" : "";
    const std::string both = error + (!error.empty() && !hint.empty() ? " " : "") + hint;
    return both.empty() ? "" : " aria-describedby=\"" + both + "\"";
}

void Console::check_field(const Field &field, unsigned flags) const {
    if (is_typed() && (flags & PRINT_DISABLED) == 0)
        flags = checkbox_flags(has(field.name) ? 1 : 0, 0);
    print_str("<div class=\"field check\">\n");
    gen_xcheckbox(flags, "%s value=\"1\"", attributes(field).c_str());
    std::printf("\n<label for=\"%s\">%s</label>", field.name, field.label);
    close_field(field);
}

// All of it, also what cannot be stored.
void Console::print_typed(int max_chars, const std::string &typed, const char *attributes) {
    print_str("<input type=\"text\"");
    if (typed.size() <= static_cast<size_t>(max_chars))
        std::printf(" maxlength=\"%d\"", max_chars);
    std::printf(" value=\"%s\"%s>", html_text(typed).c_str(), attributes);
}

const char *Console::typed_text(const char *name) const {
    return is_typed() ? value(name) : nullptr;
}

// Whether the form that is being printed was posted and refused: it shows what was typed.
bool Console::is_typed() const {
    return (!accepted() || keeps_typed_) && is_form(form_);
}

void Console::wrote(const char *label, int result) {
    auto &labels = result > 0 ? changed_ : result == 0 ? unchanged_ : failed_;
    labels.emplace_back(label);
}

void Console::report() {
    if (!accepted()) {
        const size_t count = refusals_.size();
        return say("bad", "Nothing was changed: " + std::to_string(count) +
                              (count == 1 ? " field needs" : " fields need") +
                              " another look. See below.");
    }
    if (!failed_.empty()) {
        say("bad", "Could not be written: " + list_of(failed_) + ".");
        keep_typed();
    }
    if (!changed_.empty()) {
        say("good", "Changed: " + list_of(changed_) + ".");
        log("changed " + list_of(changed_));
    }
    if (changed_.empty() && failed_.empty())
        say("same", "Nothing was different: everything stays as it was.");
    else if (!unchanged_.empty())
        say("same", "Unchanged: " + list_of(unchanged_) + ".");
}
