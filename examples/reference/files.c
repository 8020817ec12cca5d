/* Stores an upload under the file name that the browser sent, in a new directory. */
#include <qmv/items.h>
#include <qmv/util.h>

int main(void) {
    char directory[] = "uploads/images";
    char sent[] = "C:\\Users\\Ada\\my logo.png";
    const char *name = valid_filename(sent);
    if (make_directory(directory, 0750, 0x4) != 0)
        return 1;
    /* A name that is empty or begins with "." is none to store under. */
    if (*name == '\0' || *name == '.')
        return 1;
    str_replace_chr(sent, ' ', '_');
    if (create_item(directory, name, "data", 4) < 0) {
        perror(name);
        return 1;
    }
    printf("%s, %d file\n", name, check_dir(directory));

    printf("parent: %d\n", remove_dir_leaf("uploads"));
    printf("file: %d\n", remove_filef("%s/%s", directory, name));
    printf("directory: %d\n", remove_dir_leaf(directory));
    return check_dir(directory) == -1 ? 0 : 1;
}
