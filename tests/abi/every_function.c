/* Calls every function of the library from C99, each with a result that can be told from outside.
 */
#define _GNU_SOURCE
#include <fcntl.h>
#include <qmv.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static int failures = 0;
static char dir[] = "/tmp/qmv-every-XXXXXX";

static void check(const char *call, int holds) {
    if (!holds) {
        fprintf(stderr, "%s: unexpected result\n", call);
        ++failures;
    }
}

static char *in_dir(char *buffer, size_t size, const char *name) {
    snprintf(buffer, size, "%s/%s", dir, name);
    return buffer;
}

/* A descriptor from which the text can be read. */
static int input(const char *text) {
    int ends[2];
    if (pipe(ends) != 0)
        return -1;
    check("full_write_fd", full_write_fd(ends[1], text, (int)strlen(text)) == (int)strlen(text));
    close(ends[1]);
    return ends[0];
}

static int take_line(void *ctx, char *line) {
    *(size_t *)ctx += strlen(line);
    return 0;
}

static void descriptors(void) {
    char buffer[64];
    char path[64];
    int fd = input("0123456789");
    check("full_read_fd", full_read_fd(fd, buffer, 4) == 4 && memcmp(buffer, "0123", 4) == 0);
    const int copy = open(in_dir(path, sizeof path, "copy"), O_RDWR | O_CREAT, 0666);
    check("full_copy_fd", full_copy_fd(fd, copy) == 6);
    close(fd);
    lseek(copy, 0, SEEK_SET);
    check("print_fd", print_fd(copy) == 6);
    close(copy);
    size_t length = 0;
    check("rd_file_line", rd_file_line(path, take_line, &length) == 0 && length == 6);
    unlink(path);
    check("print_fsize", print_fsize(2048) == 10);
    fd = input("Content-Type: x\r\n");
    check("full_line_read_fd", full_line_read_fd(fd, buffer, sizeof buffer) == 15);
    close(fd);
}

static void encodings(void) {
    char buffer[8];
    const char *cursor = "\xE2\x82\xAC";
    unsigned bytes = 0;
    check("utf8_to_ucs2", utf8_to_ucs2(&cursor, 3) == 0x20AC);
    check("ucs2_to_utf8", ucs2_to_utf8(buffer, 8, 0xE9) == buffer + 2);
    check("utf8_length", utf8_length("h\xC3\xA9", 10, &bytes) == 2 && bytes == 3);
    check("strsncpy", strsncpy(buffer, 4, "abc") == 3);
    check("check_ucs2_to_gsm", check_ucs2_to_gsm('{') == 2);
}

static int take_variables(void *ctx, struct cgivar *vars, unsigned count, unsigned mode) {
    check("cgivars_callback", mode == CGI_MODE_QUERY && count == 2);
    *(int *)ctx += strcmp(vars[1].value, "b c") == 0;
    return 7;
}

static void requests(void) {
    int matches = 0;
    setenv("REQUEST_METHOD", "GET", 1);
    setenv("QUERY_STRING", "a=1&x=b+c", 1);
    check("getcgivars", getcgivars(&matches, take_variables, NULL) == 7 && matches == 1);
    char text[] = "a=1&x=b+c";
    check("cgidecode", cgidecode(&matches, text, take_variables, CGI_MODE_QUERY) == 7);
    char escaped[] = "%41%20";
    cgi_unescape(escaped);
    check("cgi_unescape", strcmp(escaped, "A ") == 0);

    char path[64];
    FILE *file = fopen(in_dir(path, sizeof path, "upload"), "w+");
    check("mpart_fwrite", mpart_fwrite(file, "abc", 3) == 0 && ftell(file) == 3);
    fclose(file);
    int out = open(path, O_WRONLY | O_TRUNC);
    check("mpart_write_fd", mpart_write_fd(&out, "abc", 3) == 0 && lseek(out, 0, SEEK_CUR) == 3);
    const int fd = input("content\r\n--XYZ--\r\n");
    check("scan_boundary", scan_boundary(fd, "XYZ", 3, mpart_write_fd, &out) == 3);
    check("scan_boundary", lseek(out, 0, SEEK_CUR) == 10);
    close(fd);
    close(out);
    unlink(path);
}

static void html_text(void) {
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

static void page(void) {
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

static int path_length(const char *path, int a, unsigned b) {
    return (int)(strlen(path) - strlen(dir)) + a + (int)b;
}

static int twice(unsigned value) {
    return (int)(2 * value);
}

static int count_element(int ctx, char *element) {
    failures += ctx != 5 || strlen(element) != 1;
    return 0;
}

static void items(void) {
    char buffer[16];
    char *value = NULL;
    unsigned number = 0;
    int sign = 0;
    char list[] = "a,b";
    unsigned array[2];
    check("create_item", create_item(dir, "n", "42", 2) == 3);
    check("_func_path_name", _func_path_name(path_length, dir, "n", 1, 2) == 5);
    check("stat_item", stat_item(dir, "n") == 0);
    check("read_item", read_item(dir, "n", buffer, 15) == 2);
    check("read_item_alloc", read_item_alloc(dir, "n", &value) == 2);
    free(value);
    check("read_items_str", read_items_str(count_element, 5, dir, "n", '4') == 2);
    check("read_item_uint", read_item_uint(dir, "n", &number) == 2 && number == 42);
    check("read_item_uint_fmt", read_item_uint_fmt(&number, "%s/n", dir) == 2);
    check("read_item_sint", read_item_sint(dir, "n", &sign) == 2 && sign == 42);
    check("call_uint", call_uint(dir, "n", twice) == 84);
    int fd = open_path_name(dir, "n", O_RDONLY, 0);
    check("read_item_fd", read_item_fd(fd, buffer, 15) == 2);
    lseek(fd, 0, SEEK_SET);
    check("read_item_alloc_fd", read_item_alloc_fd(fd, &value, -1) == 2);
    free(value);
    lseek(fd, 0, SEEK_SET);
    check("read_item_uint_fd", read_item_uint_fd(fd, NULL) == 42);
    lseek(fd, 0, SEEK_SET);
    check("read_item_sint_fd", read_item_sint_fd(fd, &sign) == 2);
    check("open_path_name", close(fd) == 0);
    check("str_to_uint", str_to_uint("12x") == 12);
    check("str_to_sint", str_to_sint("-12") == -12);
    check("bool_to_uint", bool_to_uint("TRUE") == 1);
    check("scan_uint", scan_uint("5", &number) == NULL && number == 5);
    number = 0;
    check("scan_list_uint", scan_list_uint("(1,2)", &number, array, 2) == NULL && number == 2);
    parse_items_str(count_element, 5, list, ',');
    check("parse_items_str", list[1] == '\0');
    check("create_item_uint", create_item_uint(dir, "n", 7) == 2);
    check("create_concat_item", create_concat_item(dir, "n", "a", "b") == 3);
    check("compare_item", compare_item(dir, "n", "ab", 5) == 0);
    check("update_item", update_item(dir, "n", "abc", 5) == 4);
    check("update_item_uint", update_item_uint(dir, "n", 3) == 2);
    check("write_item_uint", write_item_uint(dir, "n", 3) == 2);
    check("write_item_text", write_item_text(dir, "n", "text") == 5);
    check("remove_item", remove_item(dir, "n") == 0);
}

static int print_box(const char *format, ...) {
    va_list args;
    va_start(args, format);
    const int result = vgen_xtextbox(8, "x", 0, format, args);
    va_end(args);
    return result;
}

static void text_boxes(void) {
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

int main(void) {
    if (mkdtemp(dir) == NULL)
        return 1;
    descriptors();
    encodings();
    requests();
    html_text();
    page();
    items();
    text_boxes();
    putchar('\n');
    rmdir(dir);
    return failures == 0 ? 0 : 1;
}
