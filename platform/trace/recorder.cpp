// SPDX-License-Identifier: Apache-2.0
// Writes platform calls to a trace.
#include "recorder.h"

#include "calls.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace mwtrace
{
namespace
{

constexpr std::size_t MOST_BYTES_A_RECORD = 65536;
constexpr std::size_t MOST_SIZES_A_RECORD = 4096;
constexpr std::string_view DATA_FUNCTION = mwapi::CALL<mwapi::Function::MwKSBSendMessageDataEx>.name;

std::string date_and_time()
{
    using namespace std::chrono;
    const auto now = floor<seconds>(system_clock::now());
    const auto day = floor<days>(now);
    const year_month_day date{day};
    const hh_mm_ss time{now - day};
    char text[64];
    (void)std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
                        static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                        static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                        static_cast<int>(time.seconds().count()));
    return text;
}

/// The recorder to flush when the process ends.
std::atomic<Recorder*> flushed_at_exit{nullptr};

/// Leaves the recorder usable.
class FlushAtExit
{
public:
    ~FlushAtExit()
    {
        if (Recorder* recorder = flushed_at_exit; recorder != nullptr)
            recorder->attempt([&] { recorder->flush(); });
    }
};

} // namespace

std::uint64_t thread_identity()
{
    static std::atomic<std::uint64_t> last{0};
    thread_local const std::uint64_t identity = ++last;
    return identity;
}

Recorder::Recorder(std::string path, std::string_view provider)
    : path_{std::move(path)}, file_{kvn::system::RegularFile::to_write(path_.c_str())}
{
    if (!file_.is_open()) {
        stop(file_.problem());
        return;
    }
    attempt([&] {
        write_line("{\"trace\":\"mwapi\",\"version\":1,\"provider\":" + text_to_json(provider).dump() +
                   ",\"started\":\"" + date_and_time() + "\"}");
    });
}

Recorder::~Recorder()
{
    Recorder* self = this;
    flushed_at_exit.compare_exchange_strong(self, nullptr);
    attempt([&] { flush(); });
}

Time Recorder::now() const
{
    const auto passed = std::chrono::steady_clock::now() - start_;
    return static_cast<Time>(std::chrono::duration_cast<std::chrono::microseconds>(passed).count());
}

unsigned Recorder::number_of(const MW_HANDLE* handle)
{
    if (handle == nullptr)
        return 0;
    const std::lock_guard lock{mutex_};
    const auto [place, is_new] = handles_.try_emplace(handle, last_handle_ + 1);
    if (is_new)
        ++last_handle_;
    return place->second;
}

unsigned Recorder::opened(const MW_HANDLE* handle)
{
    if (handle == nullptr)
        return 0;
    const std::lock_guard lock{mutex_};
    return handles_[handle] = ++last_handle_;
}

void Recorder::closed(const MW_HANDLE* handle)
{
    const std::lock_guard lock{mutex_};
    handles_.erase(handle);
}

void Recorder::add(std::string_view function, const Span& span, const Json& in, std::uint32_t result,
                   const Json& got)
{
    const std::lock_guard lock{mutex_};
    if (has_ended_)
        return;
    Thread& thread = this_thread();
    write_pieces(thread);
    write_record(thread, span, function, in, result, got);
}

void Recorder::add_data(const DataCall& call, const Span& span, std::uint32_t result)
{
    const std::lock_guard lock{mutex_};
    if (has_ended_)
        return;
    Thread& thread = this_thread();
    Pieces& pieces = thread.pieces;
    const bool joins = result == 0 && call.data != nullptr;
    const bool fits = pieces.handle == call.handle && pieces.timeout == call.timeout &&
                      pieces.data.size() < MOST_BYTES_A_RECORD && pieces.sizes.size() < MOST_SIZES_A_RECORD;
    if (!joins || !fits)
        write_pieces(thread);
    if (!joins) {
        Json in = {{"handle", call.handle}, {"timeout", call.timeout}, {"sizes", {{1, call.length}}}};
        const auto* bytes = static_cast<const std::uint8_t*>(call.data);
        in.set("data", bytes == nullptr ? Json{} : bytes_to_json({bytes, call.length}));
        return write_record(thread, span, DATA_FUNCTION, in, result, nullptr);
    }
    if (pieces.sizes.empty()) {
        pieces.handle = call.handle;
        pieces.timeout = call.timeout;
        pieces.span = span;
    }
    pieces.span.end = span.end;
    if (pieces.sizes.empty() || pieces.sizes.back().length != call.length)
        pieces.sizes.push_back({0, call.length});
    ++pieces.sizes.back().count;
    const auto* bytes = static_cast<const std::uint8_t*>(call.data);
    pieces.data.insert(pieces.data.end(), bytes, bytes + call.length);
}

void Recorder::flush()
{
    const std::lock_guard lock{mutex_};
    if (has_ended_)
        return;
    for (auto& [identity, thread] : threads_)
        write_pieces(thread);
}

void Recorder::give_up(const char* reason) noexcept
{
    const std::lock_guard lock{mutex_};
    stop(reason);
}

Recorder::Thread& Recorder::this_thread()
{
    const auto [place, is_new] = threads_.try_emplace(thread_identity());
    if (is_new)
        place->second.number = static_cast<unsigned>(threads_.size());
    return place->second;
}

void Recorder::write_pieces(Thread& thread)
{
    const Pieces pieces = std::exchange(thread.pieces, {});
    if (pieces.sizes.empty())
        return;
    Json sizes = Json::array();
    for (const SizeRun& run : pieces.sizes)
        sizes.push_back({run.count, run.length});
    const Json in = {{"handle", pieces.handle},
                     {"timeout", pieces.timeout},
                     {"sizes", std::move(sizes)},
                     {"data", bytes_to_json(pieces.data)}};
    write_record(thread, pieces.span, DATA_FUNCTION, in, 0, nullptr);
}

void Recorder::write_record(const Thread& thread, const Span& span, std::string_view function, const Json& in,
                            std::uint32_t result, const Json& got)
{
    std::string line = "{\"t\":" + std::to_string(span.begin);
    line += ",\"took\":" + std::to_string(span.end - span.begin);
    if (thread.number != 1)
        line += ",\"thread\":" + std::to_string(thread.number);
    line += ",\"call\":\"";
    line += function;
    line += "\",\"in\":" + in.dump() + ",\"result\":" + std::to_string(result);
    if (!got.is_null())
        line += ",\"got\":" + got.dump();
    write_line(std::move(line += '}'));
}

// Writes each record at once, so that all survive the killing of the program.
void Recorder::write_line(std::string line)
{
    line += '\n';
    if (!has_ended_ && !file_.write(line))
        stop(file_.problem());
}

// Allocates nothing: lack of memory can be the reason.
void Recorder::stop(const char* reason) noexcept
{
    if (std::exchange(has_ended_, true))
        return;
    (void)file_.close();
    (void)std::fprintf(stderr, "mwtrace: cannot write %s: %s; the run goes on unrecorded\n", path_.c_str(),
                       reason);
}

std::unique_ptr<Recorder> recorder_from_environment(const char* variable, std::string_view provider)
{
    static const FlushAtExit at_exit;
    const char* path = std::getenv(variable); // NOLINT(concurrency-mt-unsafe)
    if (path == nullptr || *path == '\0')
        return nullptr;
    try {
        auto recorder = std::make_unique<Recorder>(path, provider);
        flushed_at_exit = recorder.get();
        return recorder;
    } catch (const std::bad_alloc&) {
        (void)std::fprintf(stderr,
                           "mwtrace: cannot write %s: no memory is left; the run goes on unrecorded\n", path);
        return nullptr;
    }
}

} // namespace mwtrace
