/*
 * Accounts and certificates: access level of the logged-in user, password hashes and password
 * change, the certificate directory and its select box.
 */
#ifndef QMV_ACCOUNTS_H
#define QMV_ACCOUNTS_H

#include <dirent.h>
#include <qmv/types.h>

QMV_BEGIN_DECLS

/* ---- Access levels ---- */

/// One row of a program's access table, ended by a row without a user.
typedef struct auth_entry {
    const char *user;  ///< null ends the table
    int32_t level;     ///< the program's own
} auth_entry;

/// Looks up the access level of the logged-in user, REMOTE_USER in the environment.
/// @param table   may be null
/// @return level of the first row with exactly this user; 0 without a user, a table or a row
int get_auth(const auth_entry *table);

/* ---- Password hashes ---- */

/// How a stored password is hashed.
enum crypt_kind {
    CRYPT_PLAIN = 0,  ///< not at all
    CRYPT_MD5 = 49    ///< MD5-based crypt, "$1$", 8 characters of salt, "$", 22 characters
};

/// Tells how a stored password is hashed.
/// @param text     null counts as plain
/// @param length   of the text; a hash has exactly 34 characters
/// @return CRYPT_MD5 or CRYPT_PLAIN
uint32_t crypt_detect(const char *text, int length);

/// Hashes a password.
/// @param kind       CRYPT_MD5: with a new salt, made of process id, time and seed; else not at all
/// @param password   the text; null: null is returned
/// @param seed       any number
/// @return a new string, which the caller frees; null for a null password, when hashing failed or
///         without memory
char *crypt_encode(uint32_t kind, const char *password, int seed);

/// Compares a stored password with one that was entered.
/// @param kind             0: the stored one is plain; otherwise it is a hash
/// @param stored,entered   null: the password is wrong
/// @return 0 when the password is right; not 0 when it is wrong, cannot be hashed or is null
int crypt_cmp(uint32_t kind, const char *stored, const char *entered);

/* ---- Password change ---- */

/// Results of chk_new_passwd() (0, 3, 6, 7) and values of passwd_rec's status (all but 3).
enum passwd_code {
    PW_UNCHANGED = 0,    ///< nothing was entered; nothing was done
    PW_CHANGED = 1,      ///< hashed and written
    PW_HASH_FAILED = 2,  ///< acceptable and confirmed, but hashing failed
    PW_VALID = 3,        ///< the entered text is acceptable
    PW_WRONG_OLD = 4,    ///< the current password is missing or wrong
    PW_MISMATCH = 5,     ///< the confirmation is missing, not acceptable or different
    PW_BAD_LENGTH = 6,   ///< too few or too many characters
    PW_BAD_CHAR = 7      ///< a character that passwd_chars() does not name
};

/// A stored password.
typedef struct passwd_rec {
    uint32_t tag;      ///< the program's own
    const char *dir;   ///< item directory
    const char *name;  ///< item name
    uint32_t status;   ///< passwd_code of the last update_pw()
    uint32_t kind;     ///< crypt_kind of the stored password
    int32_t length;    ///< of the stored password; negative when the item cannot be read
    char stored[35];   ///< the password or hash as it was read
} passwd_rec;

/// One field of a posted form.
typedef struct passwd_field {
    uint32_t code;     ///< what chk_new_passwd() returned for it; not looked at in `current`
    const char *text;  ///< what chk_new_passwd() accepted, else null
} passwd_field;

/// A posted change of password.
typedef struct passwd_form {
    passwd_field current;  ///< the password that is to be changed
    passwd_field fresh;    ///< the new one
    passwd_field confirm;  ///< the new one again
} passwd_form;

/// Checks an entered password: ASCII letters, digits and the marks # + , - . / : ; @
/// @param text        UTF-8, looked at up to its end or first invalid sequence; null counts as
///                    empty
/// @param accepted    receives text, the whole of it, when it is acceptable; may be null
/// @param min_chars,max_chars   limits in characters
/// @return
///  - PW_UNCHANGED: it is empty
///  - PW_VALID: it is acceptable
///  - PW_BAD_CHAR: another character, whatever the length
///  - PW_BAD_LENGTH: too few or too many characters
uint32_t chk_new_passwd(const char *text, const char **accepted, uint32_t min_chars,
                        uint32_t max_chars);

/// Reads a stored password.
/// @param dir,name   the item
/// @param rec        filled; keeps dir and name as pointers. One that cannot be read is plain and
///                   empty. Null: nothing happens
/// @param tag        kept in the record
/// @return crypt_kind of the stored password
uint32_t rd_passwd(const char *dir, const char *name, passwd_rec *rec, uint32_t tag);

/// Changes a password as a posted form asks, always to a hash: in the item of the record and in the
/// item of the same name in another directory. Both must exist; that a write failed is not
/// reported.
/// @param form           null: nothing happens
/// @param rec            receives the outcome in status; kind changes with it, stored does not
///                       (intended); null: nothing happens
/// @param copy_dir       the other directory; null: none
/// @param need_current   nonzero: the current password must be right
void update_pw(const passwd_form *form, passwd_rec *rec, const char *copy_dir, int need_current);

/* ---- Certificate directories ---- */
/*
 * A listing has every name that does not begin with ".", sorted with alphasort. File names come
 * from uploads: a program checks them before it stores a file.
 */

/// The command that inspects files; see asprint_tooltip().
typedef struct cert_tool {
    const char *wrapper;  ///< may be null
    const char *tool;     ///< the command
    const char *options;  ///< what follows its own arguments
} cert_tool;

/// Files that belong to those of a directory: same name, other extension, other directory.
typedef struct cert_related {
    const char *dir;      ///< null ends a table
    const char *ext;      ///< with its dot
    const char *wrapper;  ///< the command that inspects them, as in cert_tool
    const char *tool;     ///< as in cert_tool
    const char *options;  ///< as in cert_tool
    uint32_t arg;         ///< handed to show_related
    uint32_t mask;        ///< the row is used when it shares a bit with what show_file returned
} cert_related;

/// A certificate directory and its listing.
typedef struct cert_dir {
    const char *dir;              ///< must end in "/" for delete_certificate()
    const cert_tool *info;        ///< may be null
    const cert_related *related;  ///< may be null
    struct dirent **entries;      ///< one block for all entries; null when there is no listing
    int32_t count;                ///< negative when the directory could not be read
} cert_dir;

/// Shows a file.
/// @param arg         what was handed to show_certificates()
/// @param file_name   without its directory
/// @param index       place in the listing, from 0
/// @param tooltip     a title attribute, valid during the call; null when there is none
/// @return mask of the related rows to show
typedef uint32_t (*cert_show_file)(uint32_t arg, const char *file_name, int index,
                                   const char *tooltip);

/// Shows a file that belongs to another.
/// @param arg,mask   those of the cert_related row
/// @param number     content of the other file as a decimal number
/// @param tooltip    as for cert_show_file
typedef void (*cert_show_related)(uint32_t arg, uint32_t number, uint32_t mask,
                                  const char *tooltip);

/// Fills the description of a directory and lists it. A listing that the description had is not
/// freed; free this one with cert_dir_free().
/// @param cd                 filled; null: -1 is returned
/// @param dir,info,related   kept as pointers; info and related may be null
/// @return
///  - 0 or more: number of entries
///  - -1: the directory cannot be read, or no memory
int cert_dir_setup(cert_dir *cd, const char *dir, const cert_tool *info,
                   const cert_related *related);

/// Frees a listing. Null, or none, does nothing.
/// @param cd   may be null
void cert_dir_free(cert_dir *cd);

/// Calls back for each file of a listing, and for files that belong to it. Runs the inspection
/// commands.
/// @param cd             null, or without a listing: nothing is shown
/// @param arg            handed to show_file
/// @param show_file      null, or no `info`: nothing is shown
/// @param show_related   may be null
void show_certificates(cert_dir *cd, uint32_t arg, cert_show_file show_file,
                       cert_show_related show_related);

/// Deletes a file of a listing and the files that belong to it, and lists the directory again.
/// @param cd      null, or without a listing: 0 is returned
/// @param index   place in the listing, from 0
/// @return
///  - the new count, negative when the directory can no longer be read
///  - 0: also when there is no such entry; nothing was deleted
///  - -1: also when the file could not be removed; nothing was deleted
int delete_certificate(cert_dir *cd, int index);

/// Builds a title attribute from what an inspection command prints about a file. Runs
/// `COMMAND -in "PATH" -noout OPTIONS` or `WRAPPER -i "PATH" -- COMMAND -noout OPTIONS`; characters
/// of the path that mean something to the shell between quotation marks are escaped; the other
/// texts go to the shell as they are.
/// @param out               receives the attribute, which the caller frees; untouched on failure
/// @param path              the file
/// @param wrapper           may be null
/// @param command,options   the inspection command and what follows its own arguments
/// @return
///  - above 0: length of the attribute
///  - -1: a null argument, no memory, a command that cannot be started or printed nothing
int asprint_tooltip(char **out, const char *path, const char *wrapper, const char *command,
                    const char *options);

/// Prints a select box of a directory's files, directories among them, with base64 as the values:
/// <select name="NAME"[flags][extra]> CR LF
/// <option value="YS5wZW0="[ selected]>a.pem</option> CR LF ... </select>
/// A last option without a value stands there when no file is the current one, and selected; also,
/// and not selected, with PRINT_EMPTY_CHOICE. The box is disabled when the directory cannot be
/// read.
/// @param path          the directory
/// @param name          raw; may be null
/// @param current       name of the selected file; null: none
/// @param empty_label   escaped; may be null
/// @param flags         bits of qmv_print_flags
/// @param extra         raw attributes, with a blank in front; may be null
/// @return bytes of the closing tag that were printed
int gen_selectbox_certs(const char *path, const char *name, const char *current,
                        const char *empty_label, uint32_t flags, const char *extra);

/// Decodes a posted value of the select box.
/// @param out        room for out_size + 1 bytes: the terminator may stand at out[out_size]
/// @param out_size   bytes of the name at most
/// @param posted     base64 of a file name; null: 0 is returned
/// @return
///  - above 0: length of the file name. It may hold anything, "/", line feeds and NULs included.
///  - 0: the value is empty, and so is out; or it does not decode, does not fit or is null, and out
///    is undefined
int save_selectbox_cert(char *out, int out_size, const char *posted);

/// Writes a posted value of the select box to an existing item unless it is unchanged.
/// @param dir,item   the item
/// @param posted     base64 of a file name
/// @param max_len    bytes of the name at most
/// @return as update_item(); -1 also for a null value
/// Intended: a value that does not decode writes an empty name.
int update_cert_item(const char *dir, const char *item, const char *posted, uint32_t max_len);

/// Reads an item and prints the select box of a directory, with PRINT_EMPTY_CHOICE.
/// @param dir,item      the item
/// @param name          of the select box, raw; may be null
/// @param path          the directory
/// @param empty_label   escaped; may be null
/// @param max_len       bytes of the item at most
/// @param extra         raw attributes, with a blank in front; may be null
/// @return the flags that were used, PRINT_DISABLED added when the item cannot be read
uint32_t gen_selectbox_certs_item(const char *dir, const char *item, const char *name,
                                  const char *path, const char *empty_label, uint32_t max_len,
                                  const char *extra);

QMV_END_DECLS

#endif
