/* SPDX-License-Identifier: Apache-2.0
 * Lists the modules of a board and loads a file into one of them.
 *   loader FILE MODULE      such as: loader design.bit mwc4a:0/1
 */
#include <kvn.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { LONGEST_BOARD_TYPE = 31 };

static int show_progress(void* user_data, const kvn_progress_info* progress)
{
    int* quarters = user_data;
    int now = progress->total > 0 ? (int)(progress->bytes * 4 / (uint64_t)progress->total) : 0;
    if (now > *quarters) {
        *quarters = now;
        printf("%d %%\n", 25 * now);
    }
    return 0; /* anything else cancels the load */
}

/* The board of a name such as "mwc4a:0/1". */
static int list_board_of(kvn_session* session, const char* module)
{
    char board_type[LONGEST_BOARD_TYPE + 1] = "";
    int board = 0;
    size_t count = 0;
    size_t i;
    int status;
    if (sscanf(module, "%31[^:]:%d", board_type, &board) != 2) {
        fprintf(stderr, "%s is no name of a module\n", module);
        exit(KVN_USAGE);
    }
    status = kvn_list(session, board_type, board);
    if (status == KVN_DONE)
        status = kvn_slot_count(session, &count);
    for (i = 0; status == KVN_DONE && i < count; ++i) {
        kvn_slot_info slot;
        memset(&slot, 0, sizeof slot);
        slot.size = sizeof slot;
        status = kvn_slot(session, i, &slot);
        if (status == KVN_DONE && slot.device != NULL)
            printf("%s %s\n", slot.module, slot.device);
    }
    return status;
}

static int load(kvn_session* session, const char* path, const char* module)
{
    kvn_file* file = NULL;
    kvn_load_options options;
    kvn_record record;
    int quarters = 0;
    int status = kvn_file_open(session, path, &file);
    if (status != KVN_DONE)
        return status;
    memset(&options, 0, sizeof options);
    options.size = sizeof options;
    options.module = module;
    options.progress = show_progress;
    options.user_data = &quarters;
    memset(&record, 0, sizeof record);
    record.size = sizeof record;
    status = kvn_load(session, file, &options, &record);
    if (status == KVN_DONE)
        printf("%s runs %s\n", record.module, record.file);
    kvn_file_close(file);
    return status;
}

static void report(const char* label, const char* text)
{
    if (*text != '\0')
        fprintf(stderr, "%s%s\n", label, text);
}

int main(int argc, char** argv)
{
    kvn_session* session = NULL;
    int status;
    if (argc != 3) {
        fprintf(stderr, "usage: %s FILE MODULE\n", argv[0]);
        return KVN_USAGE;
    }
    status = kvn_open(&session);
    if (status == KVN_DONE)
        status = kvn_provider_open(session, NULL);
    if (status == KVN_DONE)
        status = list_board_of(session, argv[2]);
    if (status == KVN_DONE)
        status = load(session, argv[1], argv[2]);
    if (status != KVN_DONE) {
        report("", kvn_error_text(session));
        report("why: ", kvn_error_why(session));
        report("try: ", kvn_error_remedy(session));
    }
    kvn_close(session);
    return status;
}
