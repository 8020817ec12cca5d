#include "check.h"

void call_accounts(void) {
    const auth_entry table[] = {{"admin", 15}, {NULL, 0}};
    passwd_rec record;
    passwd_form form = {{0, "old"}, {PW_VALID, "fresh"}, {PW_VALID, "fresh"}};
    const char *accepted = NULL;
    setenv("REMOTE_USER", "admin", 1);
    check("get_auth", get_auth(table) == 15);
    char *hash = crypt_encode(CRYPT_MD5, "secret", 1);
    check("crypt_encode", hash != NULL && strlen(hash) == 34);
    check("crypt_detect", crypt_detect(hash, 34) == CRYPT_MD5);
    check("crypt_cmp", crypt_cmp(CRYPT_MD5, hash, "secret") == 0);
    free(hash);
    check("chk_new_passwd", chk_new_passwd("fresh", &accepted, 3, 8) == PW_VALID);
    create_item(dir, "pw", "old", 3);
    check("rd_passwd", rd_passwd(dir, "pw", &record, 7) == CRYPT_PLAIN && record.tag == 7);
    update_pw(&form, &record, dir, 1);
    check("update_pw", record.status == PW_CHANGED && record.kind == CRYPT_MD5);
    remove_item(dir, "pw");
}

static uint32_t show_file(uint32_t arg, const char *file_name, int index, const char *tooltip) {
    check("show_certificates", arg == 5 && index == 0 && strcmp(file_name, "1.pem") == 0);
    check("show_certificates", tooltip != NULL && strstr(tooltip, " title=\"") == tooltip);
    return 0;
}

void call_certificates(void) {
    const cert_tool tool = {NULL, "echo", "-subject"};
    cert_dir listing;
    char path[64];
    char name[16];
    char *tooltip = NULL;
    make_directory(in_dir(path, sizeof path, "certs/"), -1, 0);
    create_item(path, "1.pem", "1", 1);
    create_item(dir, "chosen", "1.pem", 5);
    check("cert_dir_setup", cert_dir_setup(&listing, path, &tool, NULL) == 1);
    show_certificates(&listing, 5, show_file, NULL);
    check("asprint_tooltip", asprint_tooltip(&tooltip, path, NULL, "echo", "-subject") > 0);
    free(tooltip);
    check("gen_selectbox_certs", gen_selectbox_certs(path, "n", NULL, "none", 0, NULL) == 9);
    check("gen_selectbox_certs_item", gen_selectbox_certs_item(dir, "chosen", "n", path, "none", 20,
                                                               NULL) == PRINT_EMPTY_CHOICE);
    check("save_selectbox_cert", save_selectbox_cert(name, 15, "MS5wZW0=") == 5);
    check("update_cert_item", update_cert_item(dir, "chosen", "MS5wZW0=", 20) == 0);
    check("delete_certificate", delete_certificate(&listing, 0) == 0 && check_dir(path) == 0);
    cert_dir_free(&listing);
    check("cert_dir_free", listing.entries == NULL);
    rmdir(path);
    remove_item(dir, "chosen");
}
