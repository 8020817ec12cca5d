#include "check.h"

#include <stdarg.h>

static int print_box(const char *format, ...) {
    va_list args;
    va_start(args, format);
    const int result = vgen_xtextbox(8, "x", 0, format, args);
    va_end(args);
    return result;
}

void call_text_boxes(void) {
    char buffer[16];
    unsigned rejected = 9;
    create_item(dir, "t", "text", 4);
    check("gen_xtextbox", gen_xtextbox(8, "x", 0, " name=\"%s\"", "n") == '>');
    check("vgen_xtextbox", print_box(" name=\"%s\"", "n") == '>');
    check("scan_textbox", scan_textbox("abcd", 3, 0, buffer, 15, NULL) == 1);
    check("update_textbox", update_textbox(dir, "t", "text", 8) == 0);
    check("update_textbox_item", update_textbox_item(dir, "t", "new", 8, NULL) == 4);
    check("rd_textbox_item", rd_textbox_item(dir, "t", buffer, 15, 5, 0) == 0);
    check("gen_xtextbox_item", gen_xtextbox_item(dir, "t", 8, 0, NULL) == 0);
    check("gen_json_text", gen_json_text("v", "n", 0) == PRINT_JSON_COMMA);
    check("gen_json_text_item", gen_json_text_item(dir, "t", 8, "n", 0) == PRINT_JSON_COMMA);
    check("update_password_item",
          update_password_item(dir, "t", "pw", 8, NULL, &rejected) == 3 && rejected == 0);
    check("gen_text_item", gen_text_item(dir, "t") == 2);
    remove_item(dir, "t");
}
