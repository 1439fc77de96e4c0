// SPDX-License-Identifier: Apache-2.0
// Packs bytes as the tools do.
#ifndef KVN_FPGA_TESTS_ENGINE_FILE_PACKING_H
#define KVN_FPGA_TESTS_ENGINE_FILE_PACKING_H

#include "file/input.h"

#include <lzma.h>
#include <zlib.h>
#include <zstd.h>

#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

inline std::uint8_t* as_bytes(std::string& text)
{
    return reinterpret_cast<std::uint8_t*>(text.data());
}

inline std::span<const std::uint8_t> as_bytes(std::string_view text)
{
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

inline std::string gzip(std::string_view text)
{
    z_stream stream{};
    std::string packed(compressBound(static_cast<uLong>(text.size())) + 32, '\0');
    if (deflateInit2(&stream, 6, Z_DEFLATED, MAX_WBITS + 16, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::runtime_error{"zlib"};
    stream.next_in = const_cast<std::uint8_t*>(as_bytes(text).data());
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = as_bytes(packed);
    stream.avail_out = static_cast<uInt>(packed.size());
    const int result = deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    (void)deflateEnd(&stream);
    if (result != Z_STREAM_END)
        throw std::runtime_error{"zlib"};
    return packed;
}

inline std::string xz(std::string_view text)
{
    std::string packed(lzma_stream_buffer_bound(text.size()), '\0');
    std::size_t size = 0;
    if (lzma_easy_buffer_encode(6, LZMA_CHECK_CRC64, nullptr, as_bytes(text).data(), text.size(),
                                as_bytes(packed), &size, packed.size()) != LZMA_OK)
        throw std::runtime_error{"lzma"};
    packed.resize(size);
    return packed;
}

inline std::string zstd(std::string_view text)
{
    std::string packed(ZSTD_compressBound(text.size()), '\0');
    const std::size_t size = ZSTD_compress(packed.data(), packed.size(), text.data(), text.size(), 3);
    if (ZSTD_isError(size) != 0U)
        throw std::runtime_error{"zstd"};
    packed.resize(size);
    return packed;
}

inline kvn::Input input_of(std::string_view text, const std::string& name,
                           const kvn::InputLimits& limits = {})
{
    return kvn::Input::from_bytes(as_bytes(text), name, limits);
}

inline std::string content_of(const kvn::Input& input)
{
    const File file = input.open();
    std::string text(input.size() + 1, '\0');
    text.resize(std::fread(text.data(), 1, text.size(), file.get()));
    return text;
}

#endif
