// The table of port forwards, and its file: a record database, one record a row.
#ifndef CONSOLE_FORWARDS_H
#define CONSOLE_FORWARDS_H

#include <qmv.h>

#include <string>

// A row. The table links rows by what stands at their beginning.
struct Forward {
    xtable_row links;
    char name[33];
    char protocol[5];
    bool on;
    unsigned low;      // first port outside
    unsigned high;     // last one
    uint32_t address;  // inside, in network byte order
    unsigned target;   // port there

    [[nodiscard]] const Forward *next() const { return reinterpret_cast<Forward *>(links.next); }
    [[nodiscard]] std::string ports() const;
    [[nodiscard]] std::string destination() const;
    /// Takes over everything but the place in the table.
    void assign(const Forward &other);
};

class Forwards {
  public:
    explicit Forwards(std::string path);
    Forwards(const Forwards &) = delete;
    Forwards &operator=(const Forwards &) = delete;
    ~Forwards() { xtable_cleanup(&table_); }

    /// False when the file cannot be read: writing would then lose what is in it.
    [[nodiscard]] bool is_read() const { return is_read_; }
    [[nodiscard]] const Forward *first() const { return reinterpret_cast<Forward *>(table_.first); }
    [[nodiscard]] unsigned count() const;
    [[nodiscard]] Forward *find(unsigned number) const;
    /// The first other row that takes one of the same ports; null without one.
    [[nodiscard]] const Forward *overlapping(const Forward &row, unsigned except) const;
    /// Names the state of the table: another one has another name.
    [[nodiscard]] std::string version() const;

    /// Reads the file again.
    void read();

    Forward *add();
    bool move_up(unsigned number) { return xtable_move_up_row(&table_, number) != 0; }
    bool move_down(unsigned number) { return xtable_move_dn_row(&table_, number) != 0; }
    bool remove(unsigned number) { return xtable_del_row(&table_, number) != 0; }
    bool sort();

    /// Writes the file anew, and puts it in place of the old one.
    [[nodiscard]] bool write() const;

  private:
    void add_record(const db_record &record);
    [[nodiscard]] std::string text() const;

    std::string path_;
    bool is_read_ = false;
    xtable table_{};
};

#endif
