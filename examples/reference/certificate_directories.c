/* Lists a certificate directory, offers its files in a select box, and deletes one. */
#include <qmv/accounts.h>
#include <qmv/html.h>
#include <qmv/items.h>
#include <qmv/util.h>

static int make_directory_with_files(void) {
    char path[] = "certs";
    return make_directory(path, 0755, 0) == 0 && create_item(path, "a.pem", "A", 1) > 0 &&
           create_item(path, "b.pem", "B", 1) > 0;
}

int main(void) {
    cert_dir certs;
    char posted[64];
    if (!make_directory_with_files() || cert_dir_setup(&certs, "certs/", NULL, NULL) < 0) {
        perror("certs");
        return 1;
    }
    for (int i = 0; i < certs.count; ++i)
        printf("%d: %s\n", i, certs.entries[i]->d_name);

    gen_selectbox_certs("certs", "ca", "b.pem", NULL, 0, NULL);
    print_str("\r\n");
    if (save_selectbox_cert(posted, (int)sizeof posted - 1, "YS5wZW0=") > 0)
        printf("posted: %s\n", posted);

    printf("%d left\n", delete_certificate(&certs, 0));
    cert_dir_free(&certs);
    return 0;
}
