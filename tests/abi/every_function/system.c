#include "check.h"

static int take_text(int arg, char *text) {
    check("shell_line", arg == 5 && strcmp(text, "line\n") == 0);
    return 0;
}

void call_shell(void) {
    shell_lines lines = {NULL, 0};
    char *text = NULL;
    check("run_shell", run_shell(PRINT_QUIET, "exit %d", 1) == 256);
    check("asprint_shell", asprint_shell(&text, "echo ok") == 4096 && strcmp(text, "ok") == 0);
    free(text);
    check("asprint_title_shell", asprint_title_shell(&text, "echo ok") == 11);
    free(text);
    check("shell_run", shell_run(&lines, "echo line") == 0 && lines.count == 1);
    shell_print(&lines, 0);
    check("shell_print", lines.count == 1);
    lines.first = NULL;
    shell_run(&lines, "echo line");
    shell_line(&lines, take_text, 5);
    create_item_uint(dir, "pid", (unsigned)getpid());
    check("signal_process", signal_process(dir, "pid", 0) == 0);
    remove_item(dir, "pid");
    check("get_progname", strcmp(get_progname(1, "/www/status.cgi"), "status.cgi") == 0);
}

static int found = 0;

static int take_interface(struct ifreq *record, int index) {
    found += record != NULL && index == 0;
    return 0;
}

void call_network(void) {
    interface_addr record;
    struct sockaddr other = {0};
    check("get_link_status", get_link_status("no interface", 1) == -1);
    check("set_link_pwrdown", set_link_pwrdown("no interface", 1, 0) == -1);
    check("read_interface_conf", read_interface_conf("no interface", take_interface) == 0);
    check("get_interface", get_interface("no interface", &record) == -1 && found == 0);
    check("read_interface6_conf", read_interface6_conf("no interface", NULL) <= 0);
    check("cfg_interface", cfg_interface(&other, 5) == 5);
}

void call_databases(void) {
    db_record *list = NULL;
    char path[64];
    create_item(dir, "db", "1\nOne\n\n2\nTwo", 12);
    create_item(dir, "choice", "2", 1);
    check("read_db_file", read_db_file(in_dir(path, sizeof path, "db"), 4, &list) == 0);
    check("search_db", search_db(list, 1, "Two") == list->next);
    check("gen_selectbox_dbase", gen_selectbox_dbase(list, 0, 1, "n", "2", 0) == 9);
    check("gen_selectbox_dbase_item",
          gen_selectbox_dbase_item(list, 0, 1, dir, "choice", "n", 8) == 9);
    check("free_db", free_db(list) == 0);
    remove_item(dir, "choice");
    remove_item(dir, "db");
}

void call_devices(void) {
    const devinfo_row rows[] = {{65, {0}}, {67, {0}}, {0, {0}}};
    const infoflag_row flags[] = {{0x4, 3}, {0, 0}};
    ovpn_choice choice;
    dsl_stream stream;
    char text[8];
    check("get_devinfo", get_devinfo(rows, "B") == &rows[1]);
    check("get_infoflags", get_infoflags(0x4, flags, "0001", NULL) == 0x4);
    check("get_ovpn_cipher", get_ovpn_cipher(12, 0, &choice) == 1);
    check("get_ovpn_hash", get_ovpn_hash(7, 0, &choice) == -1);

    check("read_uboot_env", read_uboot_env(dir) == -1);
    check("uboot_getenv", uboot_getenv("a") == NULL);
    free_uboot_env();

    check("dsl_api_get_modem_status", dsl_api_get_modem_status(-1) == NULL);
    check("dsl_api_get_modem_mode", dsl_api_get_modem_mode(-1) == NULL);
    check("dsl_api_get_power_mode", dsl_api_get_power_mode(-1) == NULL);
    check("dsl_api_get_trellis_modulation",
          dsl_api_get_trellis_modulation(-1, "on", "off") == NULL);
    check("dsl_api_get_dsl_stream", dsl_api_get_dsl_stream(-1, &stream, 1) == -1);
    memset(&stream, 0, sizeof stream);
    stream.channel.data_rate = 1999999;
    stream.channel.interleave_delay = 150;
    stream.line.max_data_rate = 2000;
    stream.line.attenuation = 255;
    check("dsl_api_get_datarate", strcmp(dsl_api_get_datarate(&stream, text, 8), "1999") == 0);
    check("dsl_api_get_max_datarate", strcmp(dsl_api_get_max_datarate(&stream, text, 8), "2") == 0);
    check("dsl_api_get_interleave_delay",
          strcmp(dsl_api_get_interleave_delay(&stream, text, 8), "2") == 0);
    check("dsl_api_get_latn", strcmp(dsl_api_get_latn(&stream, text, 8), "26") == 0);
    check("dsl_api_get_snr", strcmp(dsl_api_get_snr(&stream, text, 8), "0") == 0);
    check("dsl_api_get_latency_type",
          strcmp(dsl_api_get_latency_type(&stream, &stream), "Interleave") == 0);
}
