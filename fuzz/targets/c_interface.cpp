// SPDX-License-Identifier: Apache-2.0
// The C interface: any calls in any order, with handles that are open, closed, null or made up, and with
// texts, sizes and numbers of all kinds.
#include "kvn.h"

#include "require.h"
#include "target.h"
#include "workplace.h"

#include <array>
#include <cstring>
#include <deque>

namespace
{
const std::string TOO_LONG(KVN_LONGEST_TEXT + 1, 'x');

/// The sequence of calls that an input stands for.
class Calls
{
public:
    explicit Calls(Choices input) : input_{input} {}
    ~Calls()
    {
        for (kvn_session* session : sessions_)
            (void)kvn_close(session);
        for (kvn_file* file : files_)
            (void)kvn_file_close(file);
    }
    Calls(const Calls&) = delete;
    Calls& operator=(const Calls&) = delete;

    void make()
    {
        constexpr int most = 64;
        for (int i = 0; i < most && !input_.empty(); ++i)
            make_one();
    }

private:
    void make_one()
    {
        const std::array calls = {
            &Calls::open,       &Calls::close,   &Calls::provider, &Calls::open_file, &Calls::memory_file,
            &Calls::close_file, &Calls::inspect, &Calls::check,    &Calls::digest,    &Calls::compare,
            &Calls::estimate,   &Calls::convert, &Calls::list,     &Calls::rows,      &Calls::identify,
            &Calls::load,       &Calls::explain, &Calls::read};
        kvn_session* const used = session();
        const int status = (this->*calls[input_.below(calls.size())])(used);
        require(status >= KVN_DONE && status <= KVN_TIMED_OUT, "a call returns a status");
        require(status == KVN_DONE || *kvn_error_text(nullptr) != '\0', "a failure leaves a text");
        require(std::strlen(kvn_error_text(used)) < (1U << 20), "texts end");
    }

    kvn_session*& place_of_session() { return sessions_[input_.below(sessions_.size())]; }
    kvn_file*& place_of_file() { return files_[input_.below(files_.size())]; }
    kvn_session* session()
    {
        return input_.once_in(16) ? reinterpret_cast<kvn_session*>(std::uintptr_t{input_.word()})
                                  : place_of_session();
    }
    kvn_file* file()
    {
        return input_.once_in(16) ? reinterpret_cast<kvn_file*>(std::uintptr_t{input_.word()})
                                  : place_of_file();
    }

    const char* text(std::initializer_list<const char*> usual)
    {
        const std::size_t choice = input_.below(usual.size() + 3);
        if (choice < usual.size())
            return usual.begin()[choice];
        if (choice == usual.size())
            return nullptr;
        if (choice == usual.size() + 1)
            return TOO_LONG.c_str();
        texts_.push_back(input_.line());
        return texts_.back().c_str();
    }
    const char* module() { return text({"mwc4a:0/1", "mwc4a:0/2", "mwc4a:0/1.2", "mwc4a:9/1"}); }
    const char* device() { return text({"", "2v3000fg676-4", "v300pq240-5"}); }
    int number()
    {
        return input_.once_in(8) ? static_cast<int>(input_.word()) : static_cast<int>(input_.below(6)) - 1;
    }

    /// A structure, mostly with its right size.
    template <class Structure>
    Structure sized()
    {
        Structure structure{};
        structure.size = input_.once_in(8) ? input_.word() % sizeof structure : sizeof structure;
        return structure;
    }
    template <class Structure>
    Structure* or_null(Structure& structure)
    {
        return input_.once_in(16) ? nullptr : &structure;
    }

    int open(kvn_session* /*used*/)
    {
        kvn_session*& place = place_of_session();
        (void)kvn_close(place);
        return kvn_open(input_.once_in(16) ? nullptr : &place);
    }
    int close(kvn_session* used) { return kvn_close(used); }
    int provider(kvn_session* used)
    {
        auto info = sized<kvn_provider>();
        const int status = kvn_provider_open(used, input_.once_in(8) ? text({"/nowhere/none.so"}) : PROVIDER);
        return status == KVN_DONE ? kvn_provider_info(used, or_null(info)) : status;
    }
    int open_file(kvn_session* used)
    {
        kvn_file*& place = place_of_file();
        (void)kvn_file_close(place);
        const std::array names = {"good.rbt", "good.bit",   "good.mcb", "good.con",
                                  "none.rbt", "folder.rbt", ""};
        return kvn_file_open(used, names[input_.below(names.size())], input_.once_in(16) ? nullptr : &place);
    }
    int memory_file(kvn_session* used)
    {
        kvn_file*& place = place_of_file();
        (void)kvn_file_close(place);
        const Bytes bytes = input_.bytes(input_.below(512));
        const std::size_t size =
            input_.once_in(16) ? static_cast<std::size_t>(-1) - input_.byte() : bytes.size();
        return kvn_file_from_memory(used, bytes.data(), size, text({"a.rbt", "a.bit", "a.mcb"}), &place);
    }
    int close_file(kvn_session* /*used*/) { return kvn_file_close(file()); }
    int inspect(kvn_session* used)
    {
        auto info = sized<kvn_inspection>();
        return kvn_inspect(used, file(), or_null(info));
    }
    int check(kvn_session* used)
    {
        auto result = sized<kvn_judgement>();
        return kvn_check(used, file(), device(), number(), or_null(result));
    }
    int digest(kvn_session* used)
    {
        std::array<char, KVN_DIGEST_SIZE> buffer{};
        return kvn_digest(used, file(), or_null(*buffer.data()), buffer.size() - input_.below(3));
    }
    int compare(kvn_session* used)
    {
        auto difference = sized<kvn_difference>();
        return kvn_compare(used, file(), file(), or_null(difference));
    }
    int estimate(kvn_session* used)
    {
        auto options = sized<kvn_estimate_options>();
        options.device = device();
        options.takes_compressed = number();
        options.mode = number();
        options.bytes_per_second = number();
        auto info = sized<kvn_estimate_info>();
        return kvn_estimate(used, file(), or_null(options), or_null(info));
    }
    int convert(kvn_session* used)
    {
        const std::array names = {"out.rbt", "out.bit", "out.mcb", "good.rbt", "folder.rbt", "none/out.bit"};
        auto options = sized<kvn_convert_options>();
        options.target = names[input_.below(names.size())];
        options.format = number();
        options.overwrite = std::strcmp(options.target, "good.rbt") == 0 ? 0 : number();
        options.normalise = number();
        options.part = device();
        auto info = sized<kvn_conversion>();
        return kvn_convert(used, file(), or_null(options), or_null(info));
    }
    int list(kvn_session* used) { return kvn_list(used, text({"mwc4a", "mwc9"}), number()); }
    int rows(kvn_session* used)
    {
        std::size_t count = 0;
        auto board = sized<kvn_board_info>();
        auto slot = sized<kvn_slot_info>();
        (void)kvn_board_count(used, or_null(count));
        (void)kvn_board(used, input_.below(20), or_null(board));
        (void)kvn_slot_count(used, or_null(count));
        return kvn_slot(used, input_.below(20), or_null(slot));
    }
    int identify(kvn_session* used)
    {
        auto slot = sized<kvn_slot_info>();
        return kvn_identify(used, module(), or_null(slot));
    }
    int load(kvn_session* used)
    {
        struct Reported {
            kvn_session* session;
            int answer;
        } reported{used, number()};
        auto options = sized<kvn_load_options>();
        options.module = module();
        options.device = device();
        options.mode = number();
        options.force = number();
        options.user_data = &reported;
        options.progress = [](void* data, const kvn_progress_info*) {
            const auto& told = *static_cast<Reported*>(data);
            require(kvn_list(told.session, "mwc4a", 0) == KVN_USAGE, "a session serves one call at a time");
            return told.answer;
        };
        options.progress_step = input_.byte();
        auto record = sized<kvn_record>();
        return kvn_load(used, file(), or_null(options), or_null(record));
    }
    int explain(kvn_session* used)
    {
        auto explanation = sized<kvn_explanation>();
        return kvn_explain(used, number() + (input_.yes() ? 9100 : 0), or_null(explanation));
    }
    int read(kvn_session* used)
    {
        const char* json = nullptr;
        auto problem = sized<kvn_problem_info>();
        auto progress = sized<kvn_progress_info>();
        (void)kvn_problem(used, input_.below(4), or_null(problem));
        (void)kvn_progress(used, or_null(progress));
        (void)kvn_cancel(used);
        const int status = kvn_result_json(used, or_null(json));
        require(status != KVN_DONE || json[0] == '{', "a result is a JSON object");
        return status;
    }

    Choices input_;
    std::array<kvn_session*, 3> sessions_{};
    std::array<kvn_file*, 3> files_{};
    std::deque<std::string> texts_; ///< stay where they are
};
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const InWorkplace here;
    Calls{Choices{data, size}}.make();
    for (const char* name : {"out.rbt", "out.bit", "out.mcb"})
        remove_file(name);
    return 0;
}
