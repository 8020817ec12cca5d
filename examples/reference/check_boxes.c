/* Check box, radio buttons, button, image and file input of a form. */
#include <qmv/html.h>
#include <qmv/items.h>
#include <qmv/widgets.h>

static void print_icon(unsigned flags) {
    gen_image("/img/", (flags & PRINT_DISABLED) != 0 ? "grey.png" : "ok.png", "", NULL);
}

int main(void) {
    if (create_item(".", "enabled", "1", 1) < 0) {
        perror("enabled");
        return 1;
    }
    unsigned flags = rd_checkbox_item(".", "enabled", 0);
    gen_xcheckbox(flags, " name=\"%s\" value=\"1\"", "enabled");
    print_str("\n");
    for (unsigned mode = 0; mode < 2; ++mode) {
        gen_radio("mode", mode, 1, NULL, 0);
        print_str("\n");
    }
    gen_xbutton("Save & close", print_icon, PRINT_SUBMIT, " name=\"save\"");
    print_str("\n");
    gen_upload(0, " name=\"image\"");
    print_str("\n");

    /* The box was not posted: it is not checked. */
    flags = checkbox_flags(0, 0);
    printf("written: %d bytes\n", wr_checkbox_item(".", "enabled", flags));
    printf("again: %d bytes\n", wr_checkbox_item(".", "enabled", flags));
    return 0;
}
