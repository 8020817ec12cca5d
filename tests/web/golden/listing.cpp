// Select boxes whose options are the records of a file or the files of a directory.
#include "page.h"

namespace {

enum RecordField { kValue = 0, kLabel = 1, kFieldCount = 2 };

constexpr unsigned kMaxName = 255;

struct Records {
    explicit Records(const Page &page) { read_db_file(page.records.c_str(), kFieldCount, &list); }
    Records(const Records &) = delete;
    Records &operator=(const Records &) = delete;
    ~Records() { free_db(list); }

    db_record *list = nullptr;
};

// Select boxes of records have no attributes of their own: their name finds them.
void print_records(const Page &page) {
    const Records records(page);
    for (const char *name : {"record", "record_missing"}) {
        open_row(name);
        gen_selectbox_dbase_item(records.list, kValue, kLabel, page.dir(), name, name,
                                 kLongestItem);
        close_row();
    }
    open_row("record_hidden");
    gen_selectbox_dbase(records.list, kValue, kLabel, "record_hidden",
                        read_text(page, "record_hidden").c_str(), PRINT_HIDDEN);
    close_row();
}

void save_records(const Page &page, const Posted &posted) {
    const Records records(page);
    for (const char *name : {"record", "record_hidden"}) {
        const char *value = posted.find(name);
        if (value != nullptr && search_db(records.list, kValue, value) != nullptr)
            write_text(page, name, value);
    }
}

void print_certificate(const Page &page, const char *name, const std::string &dir) {
    open_row(name);
    gen_selectbox_certs_item(page.dir(), name, name, dir.c_str(), "(none)", kMaxName,
                             id_attribute(name).c_str());
    close_row();
}

// A box that offers no empty choice.
void print_required(const Page &page) {
    open_row("certificate_required");
    gen_selectbox_certs(page.certificates.c_str(), "certificate_required",
                        read_text(page, "certificate_required").c_str(), "(none)", PRINT_HIDDEN,
                        " id=\"certificate_required\"");
    close_row();
}

}  // namespace

void print_listings(const Page &page) {
    print_records(page);
    for (const char *name : {"certificate", "certificate_empty", "certificate_missing"})
        print_certificate(page, name, page.certificates);
    print_certificate(page, "certificate_nowhere", page.certificates + "/missing");
    print_required(page);
}

void save_listings(const Page &page, const Posted &posted) {
    save_records(page, posted);
    for (const char *name : {"certificate", "certificate_empty", "certificate_missing"}) {
        if (const char *value = posted.find(name))
            update_cert_item(page.dir(), name, value, kMaxName);
    }
    char file[kMaxName + 1];
    if (save_selectbox_cert(file, kMaxName, posted.find("certificate_required")) > 0)
        write_text(page, "certificate_required", file);
}
