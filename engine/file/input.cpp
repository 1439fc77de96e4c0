// SPDX-License-Identifier: Apache-2.0
// A file as it was given, held in memory.
#include "file/input.h"

#include "errors/failure.h"
#include "file/unpacking.h"
#include "hashing/sha256.h"
#include "system/descriptor.h"
#include "system/file.h"
#include "system/memory_file.h"
#include "system/terminal.h"

#include <array>
#include <cerrno>
#include <system_error>
#include <vector>

namespace kvn
{

struct Input::Content {
    std::string name;
    std::string unpacked_name;
    bool name_states_format = false;
    Stored stored;
    system::MemoryFile file;
};

namespace
{

constexpr const char* COPY_AGAIN = "copy the file again in binary mode, or pack it again";

[[noreturn]] void fail_to_read(const std::string& name, const std::error_code& code)
{
    const bool is_ours = code == std::errc::no_space_on_device || code == std::errc::not_enough_memory;
    throw FailureError{{ExitStatus::file, 0, name + ": " + std::generic_category().message(code.value()),
                        is_ours ? "the content is held in memory" : "", ""}};
}

[[noreturn]] void fail_to_read(const std::string& name)
{
    fail_to_read(name, {errno, std::generic_category()});
}

/// Takes a file's bytes as they come, and keeps them unpacked.
class Filling
{
public:
    Filling(const std::string& name, const InputLimits& limits, system::MemoryFile& file)
        : name_{name}, limits_{limits}, file_{file}
    {
    }

    void take(std::span<const std::uint8_t> bytes)
    {
        stored_.size += bytes.size();
        sum_.take(bytes);
        if (begun_)
            return unpack(bytes);
        head_.insert(head_.end(), bytes.begin(), bytes.end());
        if (head_.size() >= PACKING_MAGIC_SIZE)
            begin();
    }

    [[nodiscard]] Input::Stored finish()
    {
        if (!begun_)
            begin();
        if (unpacker_ != nullptr)
            unpacking([this] { unpacker_->finish(); });
        stored_.sha256 = sum_.finish();
        return stored_;
    }

private:
    void begin()
    {
        begun_ = true;
        stored_.packing = recognise_packing(head_);
        if (stored_.packing != Packing::none)
            unpacker_ = Unpacker::make(stored_.packing, [this](auto unpacked) { keep(unpacked); });
        unpack(head_);
        head_ = {};
    }

    void unpack(std::span<const std::uint8_t> bytes)
    {
        if (unpacker_ == nullptr)
            return keep(bytes);
        unpacking([&] { unpacker_->take(bytes); });
    }

    template <class Action>
    void unpacking(Action action)
    {
        try {
            action();
        } catch (const UnpackingError& error) {
            throw FailureError{
                {ExitStatus::damaged, 0, name_ + ": " + error.what(), error.why(), COPY_AGAIN}};
        }
    }

    void keep(std::span<const std::uint8_t> bytes)
    {
        if (bytes.size() > limits_.size - file_.size())
            throw FailureError{{ExitStatus::damaged, 0,
                                name_ + ": more than " + std::to_string(limits_.size) + " bytes" +
                                    (unpacker_ != nullptr ? " when unpacked" : ""),
                                "no bitstream is that large", "give a bitstream file"}};
        file_.append(bytes);
    }

    const std::string& name_;
    const InputLimits& limits_;
    system::MemoryFile& file_;
    std::vector<std::uint8_t> head_; // until it tells the packing
    bool begun_ = false;
    std::unique_ptr<Unpacker> unpacker_;
    hashing::Sha256 sum_;
    Input::Stored stored_;
};

bool is_standard_input(const std::string& path)
{
    return path == "-" || path == "/dev/stdin";
}

[[noreturn]] void refuse_kind(const std::string& path)
{
    throw FailureError{{ExitStatus::file, 0, path + ": not a regular file", "", "give a bitstream file"}};
}

system::Descriptor open_file(const std::string& path, bool& is_regular)
{
    const system::FileKind kind = system::kind_of(path);
    if (kind == system::FileKind::none)
        fail_to_read(path);
    is_regular = kind == system::FileKind::regular;
    if (!is_regular && kind != system::FileKind::pipe)
        refuse_kind(path);
    // A pipe is waited for. What is no pipe must not make us wait, should it be another file by now.
    system::Descriptor file{system::open_to_read(path, is_regular ? system::Opening::at_once
                                                                  : system::Opening::waits_for_writer)};
    if (!file.is_open())
        fail_to_read(path);
    // What was opened may be something else than what was there a moment ago.
    const system::FileKind opened = system::kind_of(file.number());
    if (opened == system::FileKind::none)
        fail_to_read(path);
    if (opened != kind)
        refuse_kind(path);
    return file;
}

void read_all(const std::string& name, int descriptor, Filling& filling)
{
    std::array<std::uint8_t, 65536> block; // NOLINT(cppcoreguidelines-pro-type-member-init)
    for (;;) {
        const auto size =
            system::read_some(descriptor, {reinterpret_cast<char*>(block.data()), block.size()});
        if (!size && errno == EINTR)
            continue;
        if (!size)
            fail_to_read(name);
        if (*size == 0)
            return;
        filling.take(std::span{block}.first(*size));
    }
}

} // namespace

Input::Input(std::shared_ptr<const Content> content) : content_{std::move(content)} {}

template <class Read>
Input Input::fill(const std::string& name, const InputLimits& limits, bool name_states_format, Read read)
{
    try {
        const auto content = std::make_shared<Content>();
        content->name = name;
        Filling filling{content->name, limits, content->file};
        read(filling);
        content->stored = filling.finish();
        content->file.seal();
        content->unpacked_name = without_packing_extension(name, content->stored.packing);
        content->name_states_format = name_states_format;
        return Input{content};
    } catch (const std::system_error& error) {
        fail_to_read(name, error.code());
    }
}

Input Input::from_path(const std::string& path, const InputLimits& limits)
{
    const bool is_standard = is_standard_input(path);
    bool is_regular = false;
    const system::Descriptor file = is_standard ? system::Descriptor{} : open_file(path, is_regular);
    const int descriptor = is_standard ? system::STANDARD_INPUT : file.number();
    return fill(path, limits, is_regular, [&](Filling& filling) { read_all(path, descriptor, filling); });
}

Input Input::from_bytes(std::span<const std::uint8_t> bytes, const std::string& name,
                        const InputLimits& limits)
{
    return fill(name, limits, !name.empty(), [&](Filling& filling) { filling.take(bytes); });
}

Input Input::from_content(std::span<const std::uint8_t> content_bytes, const std::string& name,
                          bool name_states_format, const Stored& stored)
{
    try {
        const auto content = std::make_shared<Content>();
        content->name = name;
        content->file.append(content_bytes);
        content->file.seal();
        content->stored = stored;
        content->unpacked_name = without_packing_extension(name, stored.packing);
        content->name_states_format = name_states_format;
        return Input{content};
    } catch (const std::system_error& error) {
        fail_to_read(name, error.code());
    }
}

const std::string& Input::name() const
{
    return content_->name;
}

const std::string& Input::unpacked_name() const
{
    return content_->unpacked_name;
}

bool Input::name_states_format() const
{
    return content_->name_states_format;
}

std::uint64_t Input::size() const
{
    return content_->file.size();
}

const Input::Stored& Input::stored() const
{
    return content_->stored;
}

File Input::open() const
{
    try {
        return File{content_->file.open()};
    } catch (const std::system_error& error) {
        fail_to_read(content_->name, error.code());
    }
}

} // namespace kvn
