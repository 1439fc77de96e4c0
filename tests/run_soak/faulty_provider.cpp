// SPDX-License-Identifier: Apache-2.0
// The virtual carriers behind a driver that hangs, crashes, loses bytes and kills, where and when a file
// says. It frees its process from an inherited limit on the size of files.
//
// KVN_FAULTY_PLAN names the file. A fault is a line of six words: PLACE ACTION TARGET MESSAGE COUNT VALUE.
//
// PLACE: open (TARGET: mwc4a:0); ask, start, data, end, answer (TARGET: mwc4a:0/1, by the carrier's own
// board).
//
// ACTION: hang; exit (with VALUE); kill (this process), kill-controller (its parent), kill-both; fail (the
// call has the result VALUE); lose (the byte); flip (the byte's bits of VALUE); lie (the answer to the load
// is VALUE).
//
// MESSAGE: the n-th load to the module in this process, or the n-th opening or question; 0: each.
//
// COUNT: of data, the byte of the message, from 0.
//
// KVN_FAULTY_WIRE names a folder, in which NAME.wire counts what each module was sent, in records of 16
// bytes, one for each load: bytes taken (8), phase (4: 1 begun, 2 its end was asked for, 3 ended, 4
// answered), answer (4). It is right whenever the process is killed.
#include "mwapi_forward.h"
#include "provider/provider.h"
#include "provider_announcement.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace
{

const char* variable(const char* name)
{
    return std::getenv(name); // NOLINT(concurrency-mt-unsafe)
}

[[noreturn]] void give_up(const std::string& why)
{
    (void)!::write(STDERR_FILENO, why.data(), why.size());
    std::abort();
}

struct Fault {
    std::string place;
    std::string action;
    std::string target;
    unsigned message = 0;
    std::uint64_t count = 0;
    std::uint32_t value = 0;
};

std::vector<Fault> read_faults()
{
    std::vector<Fault> faults;
    const char* const path = variable("KVN_FAULTY_PLAN");
    if (path == nullptr)
        return faults;
    std::ifstream file{path};
    for (Fault fault;
         file >> fault.place >> fault.action >> fault.target >> fault.message >> fault.count >> fault.value;)
        faults.push_back(fault);
    if (!file.eof())
        give_up("the faulty provider cannot read its faults\n");
    return faults;
}

/// What one load has put on the wire, in a file that survives this process.
class WireRecord
{
public:
    explicit WireRecord(std::string module)
    {
        const char* const folder = variable("KVN_FAULTY_WIRE");
        if (folder == nullptr)
            return;
        module.at(module.find('/')) = '-';
        module.at(module.find(':')) = '-';
        const std::string path = std::string{folder} + "/" + module + ".wire";
        file_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
        struct stat status {
        };
        if (file_ < 0 || ::fstat(file_, &status) != 0)
            give_up("the faulty provider cannot write " + path + "\n");
        begin_ = status.st_size;
        note(1);
    }
    WireRecord(const WireRecord&) = delete;
    WireRecord& operator=(const WireRecord&) = delete;
    ~WireRecord()
    {
        if (file_ >= 0)
            (void)::close(file_);
    }

    void note(std::uint32_t phase)
    {
        content_.phase = phase;
        write();
    }
    void note_bytes(std::uint64_t bytes)
    {
        content_.bytes = bytes;
        write();
    }
    void note_answer(std::uint8_t answer)
    {
        content_.answer = answer;
        note(4);
    }

private:
    void write() const
    {
        if (file_ >= 0 && ::pwrite(file_, &content_, sizeof content_, begin_) != sizeof content_)
            give_up("the faulty provider has no room for its own notes\n");
    }

    struct {
        std::uint64_t bytes = 0;
        std::uint32_t phase = 0;
        std::uint32_t answer = 0;
    } content_;
    int file_ = -1;
    off_t begin_ = 0;
};

/// One load that is under way.
struct Load {
    explicit Load(const std::string& name) : module{name}, wire{name} {}

    std::string module;
    WireRecord wire;
    unsigned message = 0;
    std::uint64_t bytes = 0;
};

class FaultyPlatform final : public mwapi::UniformPlatform<FaultyPlatform>
{
public:
    template <mwapi::Function function, class... Arguments>
    std::uint32_t call(Arguments... arguments)
    {
        return (carriers_.*mwapi::CALL<function>.operation)(arguments...);
    }
    [[nodiscard]] std::string_view announcement() const override { return carriers_.announcement(); }
    [[nodiscard]] std::string_view version() const override { return carriers_.version(); }

    std::uint32_t open(const char* board_type, std::uint16_t board_number, const char* device,
                       MW_HANDLE** handle, std::uint32_t* reserved) override
    {
        const std::string board = std::string{board_type} + ":" + std::to_string(board_number);
        if (const Fault* fault = next("open", board); fault != nullptr && act(*fault))
            return fault->value;
        const std::uint32_t result = carriers_.open(board_type, board_number, device, handle, reserved);
        if (result == 0)
            boards_[*handle] = {board_type, board_number};
        return result;
    }
    std::uint32_t close(MW_HANDLE** handle) override
    {
        load_.reset();
        return carriers_.close(handle);
    }
    std::uint32_t send(MW_HANDLE* handle, std::uint32_t type, std::uint32_t slot, const void* data,
                       std::uint32_t length, std::uint32_t timeout) override
    {
        const Fault* const fault = next("ask", name_of(handle, boards_[handle].number, slot));
        return fault != nullptr && act(*fault) ? fault->value
                                               : carriers_.send(handle, type, slot, data, length, timeout);
    }
    std::uint32_t send_ex(MW_HANDLE* handle, std::uint32_t type, std::uint32_t board, std::uint32_t slot,
                          const void* data, std::uint32_t length, std::uint32_t timeout) override
    {
        const Fault* const fault = next("ask", name_of(handle, board, slot));
        return fault != nullptr && act(*fault)
                   ? fault->value
                   : carriers_.send_ex(handle, type, board, slot, data, length, timeout);
    }
    std::uint32_t start_send(MW_HANDLE* handle, std::uint32_t board, std::uint32_t slot,
                             std::uint32_t timeout) override
    {
        const std::string module = name_of(handle, board, slot);
        const Fault* const fault = next("start", module);
        if (fault != nullptr && act(*fault))
            return fault->value;
        const std::uint32_t result = carriers_.start_send(handle, board, slot, timeout);
        if (result != 0)
            return result;
        load_ = std::make_unique<Load>(module);
        load_->message = messages_["start " + module];
        return 0;
    }
    std::uint32_t send_data(MW_HANDLE* handle, const void* data, std::uint32_t length,
                            std::uint32_t timeout) override
    {
        const auto* const bytes = static_cast<const std::uint8_t*>(data);
        std::vector<std::uint8_t> sent{bytes, bytes + length};
        if (const Fault* fault = in_load("data", length); fault != nullptr) {
            const auto place = static_cast<std::ptrdiff_t>(fault->count - load_->bytes);
            if (fault->action == "lose")
                sent.erase(sent.begin() + place);
            else if (fault->action == "flip")
                sent[static_cast<std::size_t>(place)] ^= static_cast<std::uint8_t>(fault->value);
            else if (act(*fault))
                return fault->value;
        }
        const std::uint32_t result =
            carriers_.send_data(handle, sent.data(), static_cast<std::uint32_t>(sent.size()), timeout);
        if (result == 0 && load_ != nullptr)
            load_->wire.note_bytes(load_->bytes += length);
        return result;
    }
    std::uint32_t end_send(MW_HANDLE* handle, std::uint32_t timeout) override
    {
        if (load_ != nullptr)
            load_->wire.note(2);
        if (const Fault* fault = in_load("end"); fault != nullptr && act(*fault))
            return fault->value;
        const std::uint32_t result = carriers_.end_send(handle, timeout);
        if (result == 0 && load_ != nullptr)
            load_->wire.note(3);
        return result;
    }
    std::uint32_t receive_data(MW_HANDLE* handle, void* data, std::uint32_t size, std::uint32_t* received,
                               std::uint32_t timeout) override
    {
        const Fault* const fault = in_load("answer");
        if (fault != nullptr && fault->action != "lie" && act(*fault))
            return fault->value;
        const std::uint32_t result = carriers_.receive_data(handle, data, size, received, timeout);
        auto* const answer = static_cast<std::uint8_t*>(data);
        if (fault != nullptr && fault->action == "lie")
            *answer = static_cast<std::uint8_t>(fault->value);
        if (result == 0 && load_ != nullptr)
            load_->wire.note_answer(*answer);
        return result;
    }

private:
    struct Board {
        std::string type;
        std::uint32_t number = 0;
    };

    [[nodiscard]] std::string name_of(MW_HANDLE* handle, std::uint32_t board, std::uint32_t slot)
    {
        return boards_[handle].type + ":" + std::to_string(board) + "/" + std::to_string(slot);
    }

    /// The fault of a call that comes once for each message.
    const Fault* next(const std::string& place, const std::string& target)
    {
        const unsigned message = ++messages_[place + " " + target];
        for (const Fault& fault : faults_)
            if (fault.place == place && fault.target == target &&
                (fault.message == 0 || fault.message == message))
                return &fault;
        return nullptr;
    }
    /// The fault of a call within the load; of data: of one of its bytes.
    const Fault* in_load(const char* place, std::uint32_t length = 0)
    {
        if (load_ == nullptr)
            return nullptr;
        for (const Fault& fault : faults_)
            if (fault.place == place && fault.target == load_->module &&
                (fault.message == 0 || fault.message == load_->message) &&
                (fault.place != "data" ||
                 (fault.count >= load_->bytes && fault.count < load_->bytes + length)))
                return &fault;
        return nullptr;
    }

    /// @return whether the call fails
    static bool act(const Fault& fault)
    {
        if (fault.action == "hang")
            for (;;)
                (void)::pause();
        if (fault.action == "exit")
            std::_Exit(static_cast<int>(fault.value));
        if (fault.action == "kill-controller" || fault.action == "kill-both")
            (void)::kill(::getppid(), SIGKILL);
        if (fault.action == "kill" || fault.action == "kill-both")
            (void)::kill(::getpid(), SIGKILL);
        return fault.action == "fail";
    }

    mwapi::LoadedPlatform carriers_{KVN_VIRTUAL_CARRIERS};
    std::vector<Fault> faults_ = read_faults();
    std::map<MW_HANDLE*, Board> boards_;
    std::map<std::string, unsigned> messages_; ///< how many of each kind there were
    std::unique_ptr<Load> load_;
};

void make_room()
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_FSIZE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    (void)::setrlimit(RLIMIT_FSIZE, &limit);
}

} // namespace

const char* MwProviderAnnouncement(void)
{
    static const std::string text{mwapi::program_platform().announcement()};
    return text.c_str();
}

const char* MwProviderVersion(void)
{
    static const std::string text{mwapi::program_platform().version()};
    return text.c_str();
}

mwapi::Platform& mwapi::program_platform()
{
    // Never destroyed: the host may call until the process ends.
    static Platform* const made = [] {
        make_room();
        return new FaultyPlatform;
    }();
    return *made;
}
