// One uploaded file: it grows under a temporary name, and gets its own when the page keeps it.
#ifndef CONSOLE_UPLOAD_H
#define CONSOLE_UPLOAD_H

#include <string>

class Upload {
  public:
    enum Outcome { kNone, kWhole, kCutOff, kTooLarge, kNotStored };

    /// Takes a file of up to `max_bytes` bytes, and removes what a killed program left of another.
    explicit Upload(unsigned max_bytes);
    Upload(const Upload &) = delete;
    Upload &operator=(const Upload &) = delete;
    ~Upload();

    /// Receives the content of a part from the request. Returns what scan_boundary() does.
    int receive(const char *boundary, const char *client_name);

    /// Gives the file its name, replacing one that has it. Returns whether that worked.
    bool keep(const std::string &path);

    [[nodiscard]] Outcome outcome() const { return outcome_; }
    /// What to say when it did not arrive whole.
    [[nodiscard]] std::string reason() const;
    /// The name that the client gave it, without directories.
    [[nodiscard]] const std::string &name() const { return name_; }
    [[nodiscard]] const std::string &temporary() const { return temporary_; }
    [[nodiscard]] unsigned size() const { return size_; }
    [[nodiscard]] unsigned crc() const { return ~crc_; }

  private:
    static int write(void *upload, const void *bytes, int count);
    void remove_leftovers() const;

    std::string dir_;
    unsigned max_bytes_;
    std::string temporary_;
    std::string name_;
    int fd_ = -1;
    bool failed_ = false;
    unsigned size_ = 0;
    unsigned crc_ = 0xFFFFFFFF;
    Outcome outcome_ = kNone;
};

#endif
