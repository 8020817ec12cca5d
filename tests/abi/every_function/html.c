#include "check.h"

void call_html_text(void) {
    unsigned char entity[24];
    char *text = NULL;
    check("html_entity_encode", html_entity_encode(entity, '<') == 4);
    check("print_mem", print_mem("ab", 2) == 2);
    check("print_str", print_str("abc") == 3);
    check("print_str_xcrlf", print_str_xcrlf("a\nb") == 4);
    check("html_print_ucs2", html_print_ucs2('&') == 5);
    check("html_print_text", html_print_text("<b>") == 9);
    check("html_print_text_limit", html_print_text_limit(1, "<b>", 3) == 4);
    check("html_asprint_text", html_asprint_text(&text, "<") == 4096 && strcmp(text, "&lt;") == 0);
    free(text);
    check("print_xstr", print_xstr("<", PRINT_RAW) == 1);
    check("html_print_text_nl", html_print_text_nl("a\nb") == 6);
    check("html_printf", html_printf(1, "<p>%s %d</p>", "<", 5) == 13);
    check("html_printf_unsigned", html_printf_unsigned("%04x", 4, 255) == 4);
    check("html_printf_signed", html_printf_signed("%d", 2, -5) == 2);
}

void call_html_page(void) {
    char *title = NULL;
    check("print_flags", print_flags(PRINT_DISABLED) == 9);
    check("html_attr", strcmp(html_attr(4), " selected") == 0);
    check("get_print_flags", get_print_flags(0, "Windows") == PRINT_WINDOWS_CLIENT);
    check("print_json_flags", print_json_flags(PRINT_JSON_COMMA) == 2);
    check("asprint_title", asprint_title(&title, "a<b") == 15);
    free(title);
    check("print_head_p1", print_head_p1("A: b\r\n", "\r\n", "x") == 1);
    check("print_head_p2", print_head_p2("t", NULL) == 3);
    check("print_head_script", print_head_script(HEAD_SCRIPT_CLOSE, NULL) == 11);
    check("print_head_css", print_head_css("/nonexistent", NULL) == 10);
    check("print_head_refresh", print_head_refresh(5, NULL) == 15);
    check("print_refresh", print_refresh(NULL, NULL, 0, "/%d", 1) == 18);
    check("print_foot", print_foot() == 18);
    check("print_timeline", print_timeline(dir, "missing", 10, "x") == 63);
    check("print_num_str_mark", print_num_str_mark("1234", ",") == 0);
}
