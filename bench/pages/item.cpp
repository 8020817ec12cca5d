// Reads an item, or writes it when its value is another one.
// Usage: item DIRECTORY NAME [VALUE]
#include <qmv.h>

#include <cstdio>

#ifdef BENCH_LITERAL
#include "bench/literal/literal.h"
namespace way = literal;
#else
namespace way {
using ::read_item;
using ::update_item;
}  // namespace way
#endif

int main(int argc, char **argv) {
    if (argc < 3)
        return 1;
    if (argc > 3)
        return way::update_item(argv[1], argv[2], argv[3], 60) < 0;
    char value[61];
    if (way::read_item(argv[1], argv[2], value, 60) < 0)
        return 1;
    std::puts(value);
    return 0;
}
