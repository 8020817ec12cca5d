#include "check.h"

void call_filters(void) {
    check("textbox_filter_alnum", textbox_filter_alnum(0, 'a') == 1);
    check("textbox_filter_digit", textbox_filter_digit(0, 'a') == 0);
    check("textbox_filter_ascii_printable", textbox_filter_ascii_printable(0, 0x7F) == 0);
    check("textbox_filter_dns", textbox_filter_dns(0, '.') == 1);
    check("textbox_filter_dns6", textbox_filter_dns6(0, ':') == 1);
    check("textbox_filter_cname", textbox_filter_cname(0, '@') == 1);
    check("textbox_filter_asn1", textbox_filter_asn1(0, '*') == 1);
    check("textbox_filter_ip6prefix", textbox_filter_ip6prefix(0, 'g') == 0);
    check("textbox_filter_octet", textbox_filter_octet(0, ' ') == 0);
    check("textbox_filter_ppp_username", textbox_filter_ppp_username(0, 0x7F) == 1);
    check("textbox_filter_ppp_password", textbox_filter_ppp_password(0, '*') == 0);
    check("textbox_filter_shell_quoted", textbox_filter_shell_quoted(0, '$') == 0);
    check("textbox_filter_smtp", textbox_filter_smtp(0, ':') == 0);
    check("passwd_chars", strncmp(passwd_chars(), "a-z", 3) == 0);
}

static int answer(void *context, unsigned op, unsigned index, int arg) {
    (void)arg;
    ++*(int *)context;
    return op == SELECTBOX_EXISTS && index < 2;
}

static int number_option(unsigned op, unsigned index, int arg) {
    (void)arg;
    if (op == SELECTBOX_EXISTS)
        return index < 2 ? 1 : -1;
    return print_str("label");
}

static int text_option(unsigned index, int arg, struct selectbox_text *pair) {
    (void)arg;
    pair->value = "v";
    pair->label = "l";
    return index == 0 ? 1 : -1;
}

void call_select_boxes(void) {
    selectbox_state state = {0, {.number = 1}};
    unsigned value = 0;
    int calls = 0;
    check("gen_selectbox_class", gen_selectbox_class(&calls, "n", answer, 0, 2, 0) == 11);
    check("gen_selectbox_class", calls == 7);
    check("gen_selectbox_num", gen_selectbox_num(&state, "n", number_option, 0, NULL) == 0);
    check("gen_xselectbox_num", gen_xselectbox_num(&state, number_option, 0, " id=%d", 5) == 0);
    check("selectbox_num_show_value", selectbox_num_show_value(1, 1) == 1);
    check("scan_select_num", scan_select_num("7", &value, 5, 0) == 1 && value == 4);
    state.value.text = NULL;
    check("scan_select_text", scan_select_text("v", &state, text_option, 0) == 1);
    check("gen_selectbox_text",
          gen_selectbox_text(&state, "n", text_option, NULL, 0, " id=\"x\"") == 0);
    rd_selectbox_text_item(dir, "missing", &state, text_option, 0, "f");
    check("rd_selectbox_text_item", state.flags == PRINT_DISABLED);

    char text[] = "a\r\n";
    char *file = NULL;
    check("gen_textarea", gen_textarea("a", 0, " name=\"%s\"", "n") == 11);
    check("textarea_to_unix", strcmp(textarea_to_unix(text, text), "a\n") == 0);
    create_item(dir, "area", "a", 1);
    check("get_textarea_file", get_textarea_file(&file, dir, "area", 10) == 31);
    free(file);
    check("update_textarea_file", update_textarea_file(dir, "area", "b", 10) == 2);
    remove_item(dir, "area");
}

static void print_icon(unsigned flags) {
    check("gen_xbutton", flags == PRINT_SUBMIT);
}

void call_buttons(void) {
    create_item(dir, "on", "1", 1);
    check("checkbox_flags", checkbox_flags(5, 0) == PRINT_CHECKED);
    check("gen_xcheckbox", gen_xcheckbox(PRINT_CHECKED, " name=\"%s\"", "n") == '>');
    check("rd_checkbox_item", rd_checkbox_item(dir, "on", 0) == PRINT_CHECKED);
    check("wr_checkbox_item", wr_checkbox_item(dir, "on", 0) == 2);
    check("gen_radio", gen_radio("n", 2, 2, NULL, 0) == '>');
    check("gen_radio_string", gen_radio_string("n", "a", "b", NULL, 0) == '>');
    check("gen_xbutton", gen_xbutton("Save", print_icon, PRINT_SUBMIT, NULL) == 9);
    check("gen_image", gen_image("/", "a.png", "<", " width=%d", 8) == '>');
    check("gen_upload", gen_upload(PRINT_DISABLED, " name=\"%s\"", "fw") == '>');
    remove_item(dir, "on");
}

void call_numbers(void) {
    unsigned low = 0;
    unsigned high = 0;
    char days[15];
    dow_entry entry = {9, NULL, NULL};
    create_item(dir, "number", "5", 1);
    check("scan_number", scan_number("99", &low, 1, 10, 0) == 1 && low == 10);
    check("gen_xnumberbox", gen_xnumberbox(5, 7, 0, " name=\"%s\"", "n") == '>');
    check("gen_numberbox", gen_numberbox("n", 5, 5, 7, 0) == '>');
    check("rd_numberbox_item", rd_numberbox_item(dir, "number", &low, 0) == 0 && low == 5);
    check("gen_numberbox_item", gen_numberbox_item(dir, "number", "n", 5, 0, 0) == 0);
    check("wr_numberbox_item", wr_numberbox_item(dir, "number", 12) == 3);
    check("gen_json_number_item",
          gen_json_number_item(dir, "number", "n", 0, 0) == PRINT_JSON_COMMA);
    check("scan_range", scan_range("20-10", &low, &high, 0, 100, 0) == 1 && low == 10);
    check("gen_xrangebox", gen_xrangebox(5, &low, &high, NULL, 0, " name=\"%s\"", "n") == '>');
    check("scan_string", scan_string(" ON", "on") == 1);
    check("scan_time", scan_time("1:75", &low, &high) == 2 && low == 2 && high == 15);
    check("cron_weekdays", strcmp(cron_weekdays(days, sizeof days, 0x41), "0,6") == 0);
    gen_dow_table(&entry, 1, "1Monday\0");
    check("gen_dow_table", entry.day == 1 && strcmp(entry.text, "Monday") == 0);
    remove_item(dir, "number");
}

void call_addresses(void) {
    uint32_t addr = 0;
    uint32_t mask = gen_netmask(24);
    ipv4_cidr cidr = {0, 0};
    struct sockaddr hw;
    char text[18];
    memset(&hw, 0, sizeof hw);
    create_item(dir, "ip", "10.0.0.1", 8);
    check("gen_prefix", gen_prefix(mask) == 24);
    check("rd_ipv4box_item", rd_ipv4box_item(dir, "ip", &addr, 0) == 0);
    check("valid_ipv4_addr", valid_ipv4_addr(&addr, addr, mask) == 1);
    check("scan_ipv4", scan_ipv4("10.0.0.1", &addr, 0) == 0);
    check("scan_ipv4_netmask", scan_ipv4_netmask("255.255.255.0", &mask, 8, 30) == 1);
    check("gen_xipv4box", gen_xipv4box(0, &addr, 0, " name=\"%s\"", "n") == '>');
    check("gen_ipv4box", gen_ipv4box("n", 0, &addr, 0) == '>');
    check("update_ipv4box_item", update_ipv4box_item(dir, "ip", &addr) == 0);
    check("scan_ipv4cidr", scan_ipv4cidr("10.0.0.7/8", &cidr, 0, 1) == 1 && cidr.prefix == 8);
    check("gen_xipv4cidr", gen_xipv4cidr(0, &cidr, 0, NULL) == '>');
    check("gen_ipv4cidr", gen_ipv4cidr("n", 0, &cidr, 0) == '>');
    check("update_ipv4cidr_item", update_ipv4cidr_item(dir, "ip", &cidr) == 11);
    check("rd_ipv4cidr_item", rd_ipv4cidr_item(dir, "ip", &cidr, 0) == 0);
    check("scan_macaddr", scan_macaddr(&hw, "00:1a:2b:3c:4d:5e") == 1);
    check("mac_isvalid", mac_isvalid(&hw) == 1);
    check("mac_ntop", strcmp(mac_ntop(&hw, '-', text, sizeof text), "00-1A-2B-3C-4D-5E") == 0);
    check("if_hwaddr_ntop", *if_hwaddr_ntop("no interface", '-', text, sizeof text) == '\0');
    check("gen_xmacbox", gen_xmacbox(0, &hw, 0, " name=\"%s\"", "n") == '>');
    remove_item(dir, "ip");
}
