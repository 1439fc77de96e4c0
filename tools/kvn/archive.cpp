// SPDX-License-Identifier: Apache-2.0
// A .tar.gz archive, made in memory: POSIX ustar, packed by zlib.
#include "archive.h"

#include <zlib.h>

#include <array>
#include <charconv>
#include <new>
#include <numeric>
#include <stdexcept>

namespace kvn
{
namespace
{

constexpr std::size_t BLOCK = 512;

/// A field of a header: its offset and its bytes.
struct Field {
    std::size_t offset;
    std::size_t size;
};
constexpr Field NAME{0, LONGEST_ENTRY_NAME};
constexpr Field MODE{100, 8};
constexpr Field USER{108, 8};
constexpr Field GROUP{116, 8};
constexpr Field SIZE{124, 12};
constexpr Field TIME{136, 12};
constexpr Field CHECKSUM{148, 8};
constexpr Field TYPE{156, 1};
constexpr Field MAGIC{257, 8};

using Header = std::array<char, BLOCK>;

void put(Header& header, const Field& field, std::string_view text)
{
    text.copy(header.data() + field.offset, field.size);
}

/// Octal digits, filled up with zeros, and a zero byte behind them.
void put_number(Header& header, const Field& field, std::size_t number)
{
    std::array<char, 24> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 8).ptr;
    const auto count = static_cast<std::size_t>(end - digits.data());
    if (count >= field.size)
        throw std::invalid_argument("an entry of an archive is too large");
    put(header, field, std::string(field.size - 1 - count, '0') + std::string{digits.data(), count});
}

Header header_of(const ArchiveEntry& entry)
{
    if (entry.name.empty() || entry.name.size() > NAME.size)
        throw std::invalid_argument("an entry of an archive has no name, or one that is too long");
    constexpr std::size_t rights = 0644;
    Header header{};
    put(header, NAME, entry.name);
    put_number(header, MODE, rights);
    put_number(header, USER, 0);
    put_number(header, GROUP, 0);
    put_number(header, SIZE, entry.content.size());
    put_number(header, TIME, 0);
    put(header, TYPE, "0");
    put(header, MAGIC, std::string_view{"ustar\00000", 8});
    // The sum is made as if its own field held blanks.
    put(header, CHECKSUM, std::string(CHECKSUM.size, ' '));
    const auto sum =
        std::accumulate(header.begin(), header.end(), std::size_t{0},
                        [](std::size_t all, char c) { return all + static_cast<unsigned char>(c); });
    put_number(header, {CHECKSUM.offset, CHECKSUM.size - 1}, sum);
    header[CHECKSUM.offset + CHECKSUM.size - 2] = '\0';
    return header;
}

std::string make_tar(const std::vector<ArchiveEntry>& entries)
{
    std::string tar;
    for (const ArchiveEntry& entry : entries) {
        const Header header = header_of(entry);
        tar.append(header.data(), header.size());
        tar += entry.content;
        tar.append((BLOCK - entry.content.size() % BLOCK) % BLOCK, '\0');
    }
    tar.append(2 * BLOCK, '\0');
    return tar;
}

} // namespace

std::string make_archive(const std::vector<ArchiveEntry>& entries)
{
    constexpr int gzip = 15 + 16; // the largest window, with the header of gzip
    constexpr int memory = 8;
    std::string tar = make_tar(entries);
    z_stream stream{};
    if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, gzip, memory, Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::bad_alloc{};
    std::string packed(deflateBound(&stream, static_cast<uLong>(tar.size())), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(tar.data());
    stream.avail_in = static_cast<uInt>(tar.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    const int result = deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    (void)deflateEnd(&stream);
    if (result != Z_STREAM_END)
        throw std::runtime_error("the archive cannot be packed");
    return packed;
}

} // namespace kvn
