// SPDX-License-Identifier: Apache-2.0
// Answers platform calls from a recording.
#include "replay.h"

#include "calls.h"

#include <algorithm>
#include <cstring>

namespace mwtrace
{
namespace
{

constexpr std::size_t LONGEST_CALL_TEXT = 88; // two of them and the words between them fit an error text
constexpr std::size_t SHOWN_BYTES = 8;
constexpr const char* NO_MEMORY_WORDS = "no memory is left for the replay";
constexpr std::string_view DATA_FUNCTION = mwapi::CALL<mwapi::Function::MwKSBSendMessageDataEx>.name;

std::string shortened(std::string text, std::size_t size)
{
    if (text.size() > size)
        text = text.substr(0, size - 3) + "...";
    return text;
}

std::string value_text(const Json& value)
{
    if (value.text() != nullptr)
        return '"' + *value.text() + '"';
    const auto bytes = bytes_from_json(value);
    if (!bytes)
        return value.dump();
    const std::string shown = hex(std::span{*bytes}.first(std::min(bytes->size(), SHOWN_BYTES)));
    return bytes->size() > SHOWN_BYTES ? shown + "... of " + std::to_string(bytes->size()) + " bytes" : shown;
}

Json piece(unsigned handle, std::uint32_t timeout, const std::uint8_t* data, std::uint32_t length)
{
    return {{"handle", handle},
            {"timeout", timeout},
            {"length", length},
            {"data", data == nullptr ? Json{} : bytes_to_json({data, length})}};
}

bool holds_pieces(const Record& record)
{
    return !record.sizes.empty();
}

} // namespace

std::string call_text(std::string_view function, const Json& in)
{
    std::string text{function};
    text += '(';
    if (!in.is_object())
        return text + in.dump() + ')';
    for (const auto& [name, value] : *in.members()) {
        if (text.back() != '(')
            text += ", ";
        text += name + ' ' + value_text(value);
    }
    return text + ')';
}

Replay::Replay(const std::string& path) noexcept
{
    try {
        recording_.emplace(path);
        std::map<unsigned, std::size_t> lane_of;
        for (std::size_t i = 0; i < recording_->size(); ++i) {
            const auto [place, is_new] = lane_of.try_emplace(recording_->thread(i), lanes_.size());
            if (is_new)
                lanes_.emplace_back();
            lanes_[place->second].records.push_back(i);
        }
    } catch (const std::bad_alloc&) {
        (void)give_up();
    } catch (const std::exception& error) {
        (void)attempt([&] {
            words_ = error.what();
            return status_ = BAD_TRACE;
        });
    }
}

// The current call may be half done, so later calls cannot be compared.
std::uint32_t Replay::give_up() noexcept
{
    const std::lock_guard lock{mutex_};
    return status_ = NO_MEMORY;
}

void Replay::write_words(char* text)
{
    const std::lock_guard lock{mutex_};
    mwapi::write_error_text(status_ == NO_MEMORY ? std::string_view{NO_MEMORY_WORDS} : words_, text);
}

std::uint32_t Replay::status()
{
    const std::lock_guard lock{mutex_};
    return status_;
}

std::string Replay::words()
{
    const std::lock_guard lock{mutex_};
    return status_ == NO_MEMORY ? NO_MEMORY_WORDS : words_;
}

std::optional<Record> Replay::answer(std::string_view function, const Json& in)
{
    const std::lock_guard lock{mutex_};
    if (status_ != 0)
        return std::nullopt;
    const auto matches = [&](Lane& lane) {
        const Record* expected = look_at(lane);
        return expected != nullptr && expected->function == function && expected->in == in;
    };
    Lane* lane = this_thread(matches);
    if (lane == nullptr || !matches(*lane)) {
        depart(lane, call_text(function, in));
        return std::nullopt;
    }
    ++calls_;
    std::optional<Record> record = std::move(lane->current);
    advance(*lane);
    return record;
}

// A large load makes half a million of these calls, so they are compared without a detour through JSON.
std::uint32_t Replay::answer_data(const MW_HANDLE* handle, const void* data, std::uint32_t length,
                                  std::uint32_t timeout)
{
    const unsigned number = number_of(handle);
    const std::lock_guard lock{mutex_};
    if (status_ != 0)
        return status_;
    const auto matches = [&](Lane& lane) {
        const Record* expected = look_at(lane);
        return expected != nullptr && holds_pieces(*expected) && expected->handle == number &&
               expected->timeout == timeout && expected->sizes[lane.size_run].length == length &&
               expected->data_is_null == (data == nullptr) &&
               (data == nullptr || length == 0 ||
                std::memcmp(data, expected->data.data() + lane.data_at, length) == 0);
    };
    Lane* lane = this_thread(matches);
    if (lane == nullptr || !matches(*lane)) {
        const auto* bytes = static_cast<const std::uint8_t*>(data);
        depart(lane, call_text(DATA_FUNCTION, piece(number, timeout, bytes, length)));
        return status_;
    }
    ++calls_;
    const std::uint32_t result = lane->current->result;
    lane->data_at += data == nullptr ? 0 : length;
    if (++lane->done_in_run == lane->current->sizes[lane->size_run].count) {
        lane->done_in_run = 0;
        ++lane->size_run;
    }
    if (lane->size_run == lane->current->sizes.size())
        advance(*lane);
    return result;
}

/// The recorded thread for the calling one. A new thread takes the first free one whose next call is the
/// same, otherwise departs from the first free one, or null.
template <class Matches>
Replay::Lane* Replay::this_thread(Matches matches)
{
    Lane*& lane = threads_[thread_identity()];
    if (lane != nullptr)
        return lane;
    Lane* first_free = nullptr;
    for (Lane& candidate : lanes_) {
        if (candidate.claimed)
            continue;
        if (first_free == nullptr)
            first_free = &candidate;
        if (matches(candidate)) {
            lane = &candidate;
            lane->claimed = true;
            return lane;
        }
    }
    return first_free;
}

const Record* Replay::look_at(Lane& lane) const
{
    if (!lane.current && lane.next < lane.records.size())
        lane.current = recording_->record(lane.records[lane.next]);
    return lane.current ? &*lane.current : nullptr;
}

/// The next call of a lane; look_at() has read it.
std::string Replay::expected_text(const Lane& lane)
{
    const Record& record = *lane.current;
    if (!holds_pieces(record))
        return call_text(record.function, record.in);
    const std::uint8_t* data = record.data_is_null ? nullptr : record.data.data() + lane.data_at;
    return call_text(record.function,
                     piece(record.handle, record.timeout, data, record.sizes[lane.size_run].length));
}

void Replay::advance(Lane& lane)
{
    lane.current.reset();
    ++lane.next;
    lane.size_run = 0;
    lane.done_in_run = 0;
    lane.data_at = 0;
}

void Replay::depart(const Lane* lane, const std::string& made)
{
    status_ = DEPARTED;
    std::string expected = recording_->is_cut() ? "nothing more (the recording is cut off)" : "nothing more";
    if (lane != nullptr && lane->current)
        expected = "line " + std::to_string(recording_->line(lane->records[lane->next])) + ", " +
                   shortened(expected_text(*lane), LONGEST_CALL_TEXT);
    words_ = "call " + std::to_string(calls_ + 1) + " departs from the recording: expected " + expected +
             "; made " + shortened(made, LONGEST_CALL_TEXT);
}

unsigned Replay::number_of(const MW_HANDLE* handle)
{
    if (handle == nullptr)
        return 0;
    const std::lock_guard lock{mutex_};
    // A handle that was opened elsewhere takes the next number, as in a recording.
    const auto [place, is_new] = numbers_.try_emplace(handle, strangers_ + 1);
    if (is_new)
        ++strangers_;
    return place->second;
}

MW_HANDLE* Replay::open(unsigned number)
{
    if (number == 0)
        return nullptr;
    const std::lock_guard lock{mutex_};
    handles_.push_back({number});
    MW_HANDLE* handle = mwapi::to_handle(&handles_.back());
    numbers_[handle] = number;
    strangers_ = std::max(strangers_, number);
    return handle;
}

void Replay::close(const MW_HANDLE* handle)
{
    const std::lock_guard lock{mutex_};
    numbers_.erase(handle);
}

std::string Replay::rest()
{
    const std::lock_guard lock{mutex_};
    if (status_ != 0)
        return "";
    std::size_t left = 0;
    Lane* first = nullptr;
    for (Lane& lane : lanes_) {
        left += lane.records.size() - lane.next;
        if (first == nullptr && look_at(lane) != nullptr)
            first = &lane;
    }
    if (first == nullptr || calls_ == 0)
        return "";
    return "the run ended before the recording, of which " + std::to_string(left) +
           " records were left; the next was " + expected_text(*first);
}

} // namespace mwtrace
