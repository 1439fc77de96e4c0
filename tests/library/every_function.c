/* SPDX-License-Identifier: Apache-2.0
 * A program in C99 that uses every function of kvn.h, rightly and wrongly.
 *   every_function DESIGN.rbt TARGET.bit      with MWVIRTUAL_RACK naming tests/library/rack.toml
 */
#include "kvn.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int failures = 0;

static void expect(int condition, const char* words, int line)
{
    if (condition)
        return;
    ++failures;
    fprintf(stderr, "line %d: not so: %s\n", line, words);
}

#define EXPECT(condition) expect((condition) != 0, #condition, __LINE__)

static void expect_status(int status, int wanted, const kvn_session* session, const char* words, int line)
{
    if (status == wanted)
        return;
    ++failures;
    fprintf(stderr, "line %d: %s is %d, not %d: %s\n", line, words, status, wanted, kvn_error_text(session));
}

#define DONE(call) expect_status((call), KVN_DONE, session, #call, __LINE__)
#define STATUS(wanted, call) expect_status((call), (wanted), session, #call, __LINE__)

/* A call that must be refused, and say why: in the session or, where that is not to be had, in the thread. */
static void expect_refused(int status, const kvn_session* session, const char* words, int line)
{
    expect_status(status, KVN_USAGE, session, words, line);
    expect(kvn_error_text(session)[0] != '\0' || kvn_error_text(NULL)[0] != '\0', words, line);
}

#define REFUSED(call) expect_refused((call), session, #call, __LINE__)

static int is_text(const char* text, const char* wanted)
{
    return text != NULL && strcmp(text, wanted) == 0;
}

static char too_long[KVN_LONGEST_TEXT + 2];

static void use_versions(void)
{
    EXPECT(kvn_version()[0] != '\0');
    EXPECT(kvn_interface_version() == KVN_INTERFACE_VERSION);
}

static void call_before_order(kvn_session* session)
{
    const char* json = NULL;
    size_t count = 0;
    kvn_provider provider = {sizeof provider, NULL, NULL, NULL, NULL, 0};
    kvn_board_info board;
    kvn_slot_info slot;
    kvn_problem_info problem;
    kvn_progress_info progress;
    memset(&board, 0, sizeof board);
    memset(&slot, 0, sizeof slot);
    memset(&problem, 0, sizeof problem);
    memset(&progress, 0, sizeof progress);
    board.size = sizeof board;
    slot.size = sizeof slot;
    problem.size = sizeof problem;
    progress.size = sizeof progress;

    REFUSED(kvn_result_json(session, &json));
    REFUSED(kvn_provider_info(session, &provider));
    REFUSED(kvn_list(session, "mwc4a", 0));
    REFUSED(kvn_identify(session, "mwc4a:0/1", &slot));
    REFUSED(kvn_board_count(session, &count));
    REFUSED(kvn_board(session, 0, &board));
    REFUSED(kvn_slot_count(session, &count));
    REFUSED(kvn_slot(session, 0, &slot));
    REFUSED(kvn_problem(session, 0, &problem));
    STATUS(KVN_USAGE, kvn_cancel(session));
    DONE(kvn_progress(session, &progress));
    EXPECT(progress.is_running == 0 && progress.bytes == 0 && progress.total == KVN_UNKNOWN);
}

static void use_provider(kvn_session* session)
{
    kvn_provider provider;
    memset(&provider, 0, sizeof provider);
    provider.size = sizeof provider;
    REFUSED(kvn_provider_open(session, too_long));
    STATUS(KVN_NO_MODULE, kvn_provider_open(session, "/nowhere/libnone.so"));
    EXPECT(kvn_error_why(session)[0] != '\0' && kvn_error_remedy(session)[0] != '\0');
    DONE(kvn_provider_open(session, "virtual"));
    DONE(kvn_provider_open(session, "virtual"));
    REFUSED(kvn_provider_open(session, "replay:other.jsonl"));
    DONE(kvn_provider_info(session, &provider));
    EXPECT(is_text(provider.name, "virtual") && provider.simulated == 1 && provider.announcement != NULL);
    REFUSED(kvn_provider_info(session, NULL));
    provider.size = 3;
    REFUSED(kvn_provider_info(session, &provider));
    provider.size = (size_t)-1;
    REFUSED(kvn_provider_info(session, &provider));
}

static void use_boards(kvn_session* session)
{
    size_t count = 0;
    kvn_board_info board;
    kvn_slot_info slot;
    memset(&board, 0, sizeof board);
    memset(&slot, 0, sizeof slot);
    board.size = sizeof board;
    slot.size = sizeof slot;

    DONE(kvn_list(session, "mwc4a", KVN_ALL_BOARDS));
    DONE(kvn_board_count(session, &count));
    EXPECT(count == 16);
    DONE(kvn_slot_count(session, &count));
    EXPECT(count == 4);
    DONE(kvn_board(session, 0, &board));
    EXPECT(is_text(board.name, "mwc4a:0") && board.status == KVN_DONE && board.slot_count == 4);
    DONE(kvn_board(session, 15, &board));
    EXPECT(board.status != KVN_DONE && board.what != NULL && board.slot_count == 0);
    DONE(kvn_slot(session, 0, &slot));
    EXPECT(is_text(slot.module, "mwc4a:0/1") && is_text(slot.device, "2v40cs144-4") && slot.compression == 1);
    EXPECT(is_text(slot.device_name, "2v40") && is_text(slot.package, "cs144") &&
           is_text(slot.speed_grade, "4"));
    DONE(kvn_slot(session, 2, &slot));
    EXPECT(slot.kind == KVN_SLOT_PROCESSOR && slot.device == NULL && slot.model == KVN_UNKNOWN);
    DONE(kvn_identify(session, "mwc4a:0/2", &slot));
    EXPECT(is_text(slot.device, "2v80cs144-4") && slot.type == 2 && slot.model == 3 && slot.version == 1);
    STATUS(KVN_NO_MODULE, kvn_list(session, "mwc4a", 9));

    REFUSED(kvn_list(session, NULL, 0));
    REFUSED(kvn_list(session, too_long, 0));
    REFUSED(kvn_list(session, "", 0));
    REFUSED(kvn_list(session, "mwc4a", 16));
    REFUSED(kvn_list(session, "mwc4a", -2));
    REFUSED(kvn_board_count(session, NULL));
    REFUSED(kvn_slot_count(session, NULL));
    REFUSED(kvn_board(session, 0, NULL));
    REFUSED(kvn_board(session, 99, &board));
    REFUSED(kvn_slot(session, 0, NULL));
    REFUSED(kvn_slot(session, (size_t)-1, &slot));
    REFUSED(kvn_identify(session, NULL, &slot));
    REFUSED(kvn_identify(session, too_long, &slot));
    REFUSED(kvn_identify(session, "mwc4a", &slot));
    REFUSED(kvn_identify(session, "mwc4a:0/1", NULL));
    slot.size = 0;
    REFUSED(kvn_slot(session, 0, &slot));
    REFUSED(kvn_identify(session, "mwc4a:0/1", &slot));
    board.size = sizeof board - 8;
    REFUSED(kvn_board(session, 0, &board));
}

static void inspect_file(kvn_session* session, const kvn_file* file)
{
    kvn_inspection inspection;
    kvn_problem_info problem;
    memset(&inspection, 0, sizeof inspection);
    memset(&problem, 0, sizeof problem);
    inspection.size = sizeof inspection;
    problem.size = sizeof problem;
    DONE(kvn_inspect(session, file, &inspection));
    EXPECT(inspection.format == KVN_FORMAT_RBT && is_text(inspection.device, "2v40") &&
           inspection.is_loadable == 1);
    REFUSED(kvn_problem(session, inspection.problem_count, &problem));
    REFUSED(kvn_problem(session, 0, NULL));
    REFUSED(kvn_inspect(session, NULL, &inspection));
    REFUSED(kvn_inspect(session, file, NULL));
    inspection.size = 1;
    REFUSED(kvn_inspect(session, file, &inspection));
    problem.size = 1;
    REFUSED(kvn_problem(session, 0, &problem));
}

static void check_file(kvn_session* session, const kvn_file* file)
{
    kvn_judgement judgement;
    kvn_problem_info problem;
    memset(&judgement, 0, sizeof judgement);
    memset(&problem, 0, sizeof problem);
    judgement.size = sizeof judgement;
    problem.size = sizeof problem;
    DONE(kvn_check(session, file, NULL, KVN_MODE_AS_TAKEN, &judgement));
    EXPECT(judgement.starts == 1 && judgement.plain_starts == 1 && judgement.compressed_starts == 1);
    STATUS(KVN_WRONG_DEVICE, kvn_check(session, file, "2v80cs144-4", KVN_MODE_PLAIN, &judgement));
    EXPECT(judgement.starts == 0 && judgement.compressed_starts == KVN_UNKNOWN);
    DONE(kvn_problem(session, 0, &problem));
    EXPECT(problem.what != NULL && problem.stops != KVN_STOPS_NOTHING);
    REFUSED(kvn_check(session, NULL, NULL, KVN_MODE_PLAIN, &judgement));
    REFUSED(kvn_check(session, file, too_long, KVN_MODE_PLAIN, &judgement));
    REFUSED(kvn_check(session, file, NULL, KVN_MODE_SMALLEST, &judgement));
    REFUSED(kvn_check(session, file, NULL, -7, &judgement));
    REFUSED(kvn_check(session, file, NULL, KVN_MODE_PLAIN, NULL));
    judgement.size = 8;
    REFUSED(kvn_check(session, file, NULL, KVN_MODE_PLAIN, &judgement));
}

static void compare_files(kvn_session* session, const kvn_file* file, const kvn_file* other)
{
    char digest[KVN_DIGEST_SIZE];
    char other_digest[KVN_DIGEST_SIZE];
    kvn_difference difference;
    memset(&difference, 0, sizeof difference);
    difference.size = sizeof difference;
    DONE(kvn_digest(session, file, digest, sizeof digest));
    DONE(kvn_digest(session, other, other_digest, sizeof other_digest));
    EXPECT(strlen(digest) == 64 && strcmp(digest, other_digest) == 0);
    REFUSED(kvn_digest(session, NULL, digest, sizeof digest));
    REFUSED(kvn_digest(session, file, NULL, sizeof digest));
    REFUSED(kvn_digest(session, file, digest, KVN_DIGEST_SIZE - 1));

    DONE(kvn_compare(session, file, other, &difference));
    EXPECT(difference.same_configuration == 1 && difference.bits == 0 && difference.first_bit == KVN_UNKNOWN);
    REFUSED(kvn_compare(session, NULL, other, &difference));
    REFUSED(kvn_compare(session, file, NULL, &difference));
    REFUSED(kvn_compare(session, file, other, NULL));
    difference.size = 70000;
    REFUSED(kvn_compare(session, file, other, &difference));
}

static void estimate_load(kvn_session* session, const kvn_file* file)
{
    kvn_estimate_options options;
    kvn_estimate_info info;
    memset(&options, 0, sizeof options);
    memset(&info, 0, sizeof info);
    options.size = sizeof options;
    options.takes_compressed = 1;
    options.mode = KVN_MODE_SMALLEST;
    options.bytes_per_second = 1000;
    info.size = sizeof info;
    DONE(kvn_estimate(session, file, NULL, &info));
    EXPECT(info.seconds == KVN_UNKNOWN);
    DONE(kvn_estimate(session, file, &options, &info));
    EXPECT(info.is_loadable == 1 && info.wire_bytes > 0 && info.seconds == (double)info.wire_bytes / 1000);
    EXPECT(info.wire_bytes <= info.plain_wire_bytes && info.wire_bytes <= info.compressed_wire_bytes);
    REFUSED(kvn_estimate(session, NULL, &options, &info));
    REFUSED(kvn_estimate(session, file, &options, NULL));
    options.bytes_per_second = -1;
    REFUSED(kvn_estimate(session, file, &options, &info));
    options.bytes_per_second = 0;
    options.mode = 99;
    REFUSED(kvn_estimate(session, file, &options, &info));
    options.mode = 0;
    options.takes_compressed = 2;
    REFUSED(kvn_estimate(session, file, &options, &info));
    options.takes_compressed = 0;
    options.device = too_long;
    REFUSED(kvn_estimate(session, file, &options, &info));
    options.device = NULL;
    options.size = 0;
    REFUSED(kvn_estimate(session, file, &options, &info));
    options.size = sizeof options;
    info.size = 0;
    REFUSED(kvn_estimate(session, file, &options, &info));
}

static void convert_file(kvn_session* session, const kvn_file* file, const char* target)
{
    kvn_convert_options options;
    kvn_conversion conversion;
    memset(&options, 0, sizeof options);
    memset(&conversion, 0, sizeof conversion);
    options.size = sizeof options;
    options.target = target;
    options.overwrite = 1;
    conversion.size = sizeof conversion;
    DONE(kvn_convert(session, file, &options, &conversion));
    EXPECT(conversion.format == KVN_FORMAT_BIT && is_text(conversion.target, target) && conversion.bytes > 0);
    options.overwrite = 0;
    STATUS(KVN_FILE, kvn_convert(session, file, &options, &conversion));
    REFUSED(kvn_convert(session, NULL, &options, &conversion));
    REFUSED(kvn_convert(session, file, NULL, &conversion));
    REFUSED(kvn_convert(session, file, &options, NULL));
    options.target = too_long;
    REFUSED(kvn_convert(session, file, &options, &conversion));
    options.target = NULL;
    REFUSED(kvn_convert(session, file, &options, &conversion));
    options.format = 4;
    REFUSED(kvn_convert(session, file, &options, &conversion));
    options.format = KVN_FORMAT_BIT;
    options.overwrite = 2;
    REFUSED(kvn_convert(session, file, &options, &conversion));
    options.overwrite = 0;
    options.normalise = -1;
    REFUSED(kvn_convert(session, file, &options, &conversion));
    options.normalise = 0;
    options.reserved = 1;
    REFUSED(kvn_convert(session, file, &options, &conversion));
    options.reserved = 0;
    options.part = too_long;
    REFUSED(kvn_convert(session, file, &options, &conversion));
    options.part = NULL;
    options.size = 7;
    REFUSED(kvn_convert(session, file, &options, &conversion));
    options.size = sizeof options;
    conversion.size = 7;
    REFUSED(kvn_convert(session, file, &options, &conversion));
}

static void use_files(kvn_session* session, const char* path, const char* target)
{
    const char byte = 'x';
    kvn_file* file = NULL;
    kvn_file* same = NULL;
    kvn_file* converted = NULL;
    STATUS(KVN_FILE, kvn_file_open(session, "/nowhere/none.rbt", &file));
    EXPECT(file == NULL);
    REFUSED(kvn_file_open(session, NULL, &file));
    REFUSED(kvn_file_open(session, too_long, &file));
    REFUSED(kvn_file_open(session, path, NULL));
    DONE(kvn_file_open(session, path, &file));
    REFUSED(kvn_file_from_memory(session, NULL, 1, "none.bit", &same));
    REFUSED(kvn_file_from_memory(session, &byte, 1, too_long, &same));
    REFUSED(kvn_file_from_memory(session, &byte, (size_t)-1, "much.bit", &same));
    REFUSED(kvn_file_from_memory(session, &byte, 1, "none.bit", NULL));
    DONE(kvn_file_from_memory(session, &byte, 1, NULL, &same));

    inspect_file(session, file);
    check_file(session, file);
    estimate_load(session, file);
    convert_file(session, file, target);
    DONE(kvn_file_open(session, target, &converted));
    compare_files(session, file, converted);

    REFUSED(kvn_file_close(NULL));
    DONE(kvn_file_close(same));
    REFUSED(kvn_file_close(same));
    DONE(kvn_file_close(converted));
    DONE(kvn_file_close(file));
}

/* What a progress function sees, and tries. */
struct watched {
    kvn_session* session;
    unsigned calls;
    uint64_t bytes;
    int cancel;
    int refused;
};

static int watch(void* user_data, const kvn_progress_info* progress)
{
    struct watched* watched = user_data;
    kvn_progress_info polled;
    memset(&polled, 0, sizeof polled);
    polled.size = sizeof polled;
    ++watched->calls;
    watched->bytes = progress->bytes;
    watched->refused = kvn_list(watched->session, "mwc4a", 0) == KVN_USAGE &&
                       kvn_close(watched->session) == KVN_USAGE &&
                       kvn_progress(watched->session, &polled) == KVN_DONE && polled.is_running == 1;
    return watched->cancel;
}

static void use_progress(kvn_session* session)
{
    kvn_progress_info progress;
    memset(&progress, 0, sizeof progress);
    progress.size = sizeof progress;
    DONE(kvn_progress(session, &progress));
    EXPECT(progress.is_running == 0 && progress.bytes > 0);
    STATUS(KVN_USAGE, kvn_progress(session, NULL));
    progress.size = 2;
    STATUS(KVN_USAGE, kvn_progress(session, &progress));
    STATUS(KVN_USAGE, kvn_cancel(session));
    EXPECT(kvn_error_text(NULL)[0] != '\0');
}

static void load_file(kvn_session* session, const char* path)
{
    kvn_file* file = NULL;
    kvn_load_options options;
    kvn_record record;
    struct watched watched = {NULL, 0, 0, 0, 0};
    memset(&options, 0, sizeof options);
    memset(&record, 0, sizeof record);
    options.size = sizeof options;
    options.module = "mwc4a:0/1";
    options.progress = watch;
    options.user_data = &watched;
    record.size = sizeof record;
    watched.session = session;
    DONE(kvn_file_open(session, path, &file));

    DONE(kvn_load(session, file, &options, &record));
    EXPECT(record.verdict == KVN_VERDICT_CONFIGURED && record.state == KVN_STATE_CONFIGURED &&
           record.answer == 5);
    EXPECT(record.simulated == 1 && record.mode == KVN_MODE_COMPRESSED &&
           is_text(record.module, "mwc4a:0/1"));
    EXPECT(watched.calls > 0 && watched.refused);
    EXPECT((int64_t)watched.bytes == record.wire_bytes);

    watched.cancel = 1;
    STATUS(KVN_CANCELLED, kvn_load(session, file, &options, &record));
    EXPECT(record.verdict == KVN_VERDICT_CANCELLED && record.state == KVN_STATE_INTERRUPTED);
    use_progress(session);

    options.module = "mwc4a:0/2";
    STATUS(KVN_WRONG_DEVICE, kvn_load(session, file, &options, &record));
    EXPECT(record.verdict == KVN_VERDICT_NOT_TRIED && record.state == KVN_STATE_UNTOUCHED &&
           record.what != NULL);

    REFUSED(kvn_load(session, NULL, &options, &record));
    REFUSED(kvn_load(session, file, NULL, &record));
    REFUSED(kvn_load(session, file, &options, NULL));
    options.module = NULL;
    REFUSED(kvn_load(session, file, &options, &record));
    options.module = too_long;
    REFUSED(kvn_load(session, file, &options, &record));
    options.module = "mwc4a:0/1";
    options.mode = 4;
    REFUSED(kvn_load(session, file, &options, &record));
    options.mode = 0;
    options.force = 5;
    REFUSED(kvn_load(session, file, &options, &record));
    options.force = 0;
    options.device = too_long;
    REFUSED(kvn_load(session, file, &options, &record));
    options.device = NULL;
    options.serial_number = too_long;
    REFUSED(kvn_load(session, file, &options, &record));
    options.serial_number = NULL;
    options.operator_name = too_long;
    REFUSED(kvn_load(session, file, &options, &record));
    options.operator_name = NULL;
    options.station = too_long;
    REFUSED(kvn_load(session, file, &options, &record));
    options.station = NULL;
    options.size = 9;
    REFUSED(kvn_load(session, file, &options, &record));
    options.size = sizeof options;
    record.size = 9;
    REFUSED(kvn_load(session, file, &options, &record));
    DONE(kvn_file_close(file));
    REFUSED(kvn_load(session, file, &options, &record));
}

static void explain_errors(kvn_session* session)
{
    const char* json = NULL;
    kvn_explanation explanation;
    memset(&explanation, 0, sizeof explanation);
    explanation.size = sizeof explanation;
    DONE(kvn_explain(session, 9103, &explanation));
    EXPECT(explanation.number == 9103 && explanation.status == KVN_WRONG_DEVICE && explanation.text != NULL);
    DONE(kvn_result_json(session, &json));
    EXPECT(json != NULL && strstr(json, "9103") != NULL);
    REFUSED(kvn_result_json(session, NULL));
    DONE(kvn_explain(session, 4, &explanation));
    EXPECT(explanation.is_answer == 1 && explanation.state == KVN_STATE_REFUSED);
    REFUSED(kvn_explain(session, 1234, &explanation));
    REFUSED(kvn_explain(session, -1, &explanation));
    REFUSED(kvn_explain(session, 9103, NULL));
    explanation.size = 4;
    REFUSED(kvn_explain(session, 9103, &explanation));
    EXPECT(kvn_error_number(session) == 0);
}

/* Every function that takes a session, without one. */
static void use_no_session(const kvn_file* not_open, kvn_session* session)
{
    char digest[KVN_DIGEST_SIZE];
    kvn_file* file = NULL;
    const char* json = NULL;
    size_t count = 0;
    REFUSED(kvn_close(session));
    REFUSED(kvn_result_json(session, &json));
    REFUSED(kvn_provider_open(session, "virtual"));
    REFUSED(kvn_provider_info(session, NULL));
    REFUSED(kvn_file_open(session, "x", &file));
    REFUSED(kvn_file_from_memory(session, "x", 1, NULL, &file));
    REFUSED(kvn_inspect(session, not_open, NULL));
    REFUSED(kvn_problem(session, 0, NULL));
    REFUSED(kvn_check(session, not_open, NULL, 0, NULL));
    REFUSED(kvn_digest(session, not_open, digest, sizeof digest));
    REFUSED(kvn_compare(session, not_open, not_open, NULL));
    REFUSED(kvn_estimate(session, not_open, NULL, NULL));
    REFUSED(kvn_convert(session, not_open, NULL, NULL));
    REFUSED(kvn_list(session, "mwc4a", 0));
    REFUSED(kvn_board_count(session, &count));
    REFUSED(kvn_board(session, 0, NULL));
    REFUSED(kvn_slot_count(session, &count));
    REFUSED(kvn_slot(session, 0, NULL));
    REFUSED(kvn_identify(session, "mwc4a:0/1", NULL));
    REFUSED(kvn_load(session, not_open, NULL, NULL));
    REFUSED(kvn_progress(session, NULL));
    REFUSED(kvn_cancel(session));
    REFUSED(kvn_explain(session, 9103, NULL));
    EXPECT(kvn_error_text(session)[0] != '\0' && kvn_error_why(session)[0] != '\0');
    EXPECT(kvn_error_remedy(session)[0] != '\0' && kvn_error_number(session) == 0);
}

int main(int argc, char** argv)
{
    kvn_session* session = NULL;
    if (argc != 3)
        return 2;
    memset(too_long, 'x', sizeof too_long - 1);
    use_versions();
    REFUSED(kvn_open(NULL));
    use_no_session(NULL, NULL);
    DONE(kvn_open(&session));
    call_before_order(session);
    use_files(session, argv[1], argv[2]);
    use_provider(session);
    use_boards(session);
    load_file(session, argv[1]);
    explain_errors(session);
    DONE(kvn_close(session));
    use_no_session((const kvn_file*)session, session);
    use_no_session((const kvn_file*)&failures, (kvn_session*)&failures);
    return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
