// SPDX-License-Identifier: Apache-2.0
// Unpacks gzip, xz and zstd data that come piece by piece.
#include "file/unpacking.h"

#include <lzma.h>
#include <zlib.h>
#include <zstd.h>

#include <algorithm>
#include <array>
#include <new>
#include <string_view>

namespace kvn
{
namespace
{

using namespace std::string_view_literals;

constexpr std::size_t STEP = 65536;

bool is_skippable_zstd_frame(std::string_view head)
{
    return head.size() >= 4 && head.substr(1, 3) == "\x2A\x4D\x18"sv &&
           (static_cast<unsigned char>(head[0]) & 0xF0U) == 0x50U;
}

class GzipUnpacker final : public Unpacker
{
public:
    explicit GzipUnpacker(Sink sink) : Unpacker{Packing::gzip, std::move(sink)}
    {
        constexpr int GZIP_ALONE = 16;
        if (inflateInit2(&stream_, MAX_WBITS + GZIP_ALONE) != Z_OK)
            throw std::bad_alloc{};
    }
    ~GzipUnpacker() override { (void)inflateEnd(&stream_); }

private:
    [[nodiscard]] bool may_begin(std::uint8_t byte) const override { return byte == 0x1F; }
    void begin_member() override { (void)inflateReset(&stream_); }
    Step unpack(std::span<const std::uint8_t> in, std::span<std::uint8_t> out) override
    {
        stream_.next_in = const_cast<std::uint8_t*>(in.data()); // NOLINT: zlib only reads there
        stream_.avail_in = static_cast<uInt>(in.size());
        stream_.next_out = out.data();
        stream_.avail_out = static_cast<uInt>(out.size());
        const int result = inflate(&stream_, Z_NO_FLUSH);
        if (result == Z_MEM_ERROR)
            throw std::bad_alloc{};
        if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR)
            fail_damaged(stream_.msg == nullptr ? "" : stream_.msg);
        return {in.size() - stream_.avail_in, out.size() - stream_.avail_out, result == Z_STREAM_END};
    }

    z_stream stream_{};
};

class XzUnpacker final : public Unpacker
{
public:
    explicit XzUnpacker(Sink sink) : Unpacker{Packing::xz, std::move(sink)} {}
    ~XzUnpacker() override { lzma_end(&stream_); }

private:
    [[nodiscard]] bool may_begin(std::uint8_t byte) const override { return byte == 0xFD; }
    void begin_member() override
    {
        constexpr std::uint64_t MOST_MEMORY = 128U << 20; // the highest level of the xz tool needs half of it
        if (lzma_stream_decoder(&stream_, MOST_MEMORY, 0) != LZMA_OK)
            throw std::bad_alloc{};
    }
    Step unpack(std::span<const std::uint8_t> in, std::span<std::uint8_t> out) override
    {
        stream_.next_in = in.data();
        stream_.avail_in = in.size();
        stream_.next_out = out.data();
        stream_.avail_out = out.size();
        const lzma_ret result = lzma_code(&stream_, LZMA_RUN);
        if (result == LZMA_MEM_ERROR)
            throw std::bad_alloc{};
        if (result != LZMA_OK && result != LZMA_STREAM_END && result != LZMA_BUF_ERROR)
            fail_damaged(words(result));
        return {in.size() - stream_.avail_in, out.size() - stream_.avail_out, result == LZMA_STREAM_END};
    }

    static const char* words(lzma_ret result)
    {
        switch (result) {
        case LZMA_FORMAT_ERROR:
            return "the beginning of a stream is not one of xz";
        case LZMA_MEMLIMIT_ERROR:
            return "unpacking needs more than 128 MiB of memory";
        case LZMA_OPTIONS_ERROR:
            return "the data need a newer xz";
        default:
            return "a check sum or a code is wrong";
        }
    }

    lzma_stream stream_ = LZMA_STREAM_INIT;
};

class ZstdUnpacker final : public Unpacker
{
public:
    explicit ZstdUnpacker(Sink sink) : Unpacker{Packing::zstd, std::move(sink)}, stream_{ZSTD_createDStream()}
    {
        if (stream_ == nullptr)
            throw std::bad_alloc{};
    }

private:
    [[nodiscard]] bool may_begin(std::uint8_t byte) const override
    {
        return byte == 0x28 || (byte & 0xF0U) == 0x50U;
    }
    void begin_member() override { (void)ZSTD_initDStream(stream_.get()); }
    Step unpack(std::span<const std::uint8_t> in, std::span<std::uint8_t> out) override
    {
        ZSTD_inBuffer input{in.data(), in.size(), 0};
        ZSTD_outBuffer output{out.data(), out.size(), 0};
        const std::size_t result = ZSTD_decompressStream(stream_.get(), &output, &input);
        if (ZSTD_isError(result) != 0U)
            fail_damaged(ZSTD_getErrorName(result));
        return {input.pos, output.pos, result == 0};
    }

    struct Releaser {
        void operator()(ZSTD_DStream* stream) const { (void)ZSTD_freeDStream(stream); }
    };
    std::unique_ptr<ZSTD_DStream, Releaser> stream_;
};

} // namespace

const char* packing_name(Packing packing)
{
    constexpr std::array names{"none", "gzip", "xz", "zstd"};
    return names.at(static_cast<std::size_t>(packing));
}

Packing recognise_packing(std::span<const std::uint8_t> head)
{
    const std::string_view text{reinterpret_cast<const char*>(head.data()), head.size()};
    if (text.starts_with("\x1F\x8B"sv))
        return Packing::gzip;
    if (text.starts_with("\xFD"
                         "7zXZ\0"sv))
        return Packing::xz;
    if (text.starts_with("\x28\xB5\x2F\xFD"sv) || is_skippable_zstd_frame(text))
        return Packing::zstd;
    return Packing::none;
}

std::string without_packing_extension(const std::string& name, Packing packing)
{
    struct Extension {
        Packing packing;
        std::string_view text;
    };
    constexpr Extension extensions[] = {
        {Packing::gzip, ".gz"}, {Packing::xz, ".xz"}, {Packing::zstd, ".zst"}, {Packing::zstd, ".zstd"}};
    for (const Extension& each : extensions)
        if (each.packing == packing && name.ends_with(each.text))
            return name.substr(0, name.size() - each.text.size());
    return name;
}

std::unique_ptr<Unpacker> Unpacker::make(Packing packing, Sink sink)
{
    switch (packing) {
    case Packing::gzip:
        return std::make_unique<GzipUnpacker>(std::move(sink));
    case Packing::xz:
        return std::make_unique<XzUnpacker>(std::move(sink));
    default:
        return std::make_unique<ZstdUnpacker>(std::move(sink));
    }
}

void Unpacker::fail_damaged(const char* why) const
{
    throw UnpackingError{std::string{"the "} + packing_name(packing_) + " data are damaged", why};
}

/// Passes over zero bytes.
/// @return whether a member begins
bool Unpacker::begins_member(std::span<const std::uint8_t>& bytes)
{
    const auto first = std::ranges::find_if(bytes, [](std::uint8_t byte) { return byte != 0; });
    bytes = {first, bytes.end()};
    if (bytes.empty())
        return false;
    if (!may_begin(bytes.front()))
        throw UnpackingError{std::string{"something else follows the "} + packing_name(packing_) + " data",
                             ""};
    return true;
}

void Unpacker::take(std::span<const std::uint8_t> bytes)
{
    std::array<std::uint8_t, STEP> made; // NOLINT(cppcoreguidelines-pro-type-member-init)
    for (;;) {
        if (!in_member_) {
            if (!begins_member(bytes))
                return;
            begin_member();
            in_member_ = true;
        }
        const Step step = unpack(bytes, made);
        sink_(std::span{made}.first(step.made));
        bytes = bytes.subspan(step.taken);
        in_member_ = !step.ends_member;
        const bool wants_more = in_member_ && step.made < made.size();
        if (wants_more && bytes.empty())
            return;
        if (wants_more && step.taken == 0)
            fail_damaged("");
    }
}

void Unpacker::finish() const
{
    if (in_member_)
        throw UnpackingError{std::string{"the "} + packing_name(packing_) + " data are cut", ""};
}

} // namespace kvn
