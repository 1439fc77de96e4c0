// SPDX-License-Identifier: Apache-2.0
// Reads and checks the header of a BIT file.
#include "formats/bit_header.h"

#include "formats/device_match.h"
#include "formats/read_exactly.h"
#include "kvnfpgai.h"

#include <cstring>
#include <new>

namespace
{
constexpr std::uint8_t magic_bytes[] = {0x0F, 0xF0, 0x0F, 0xF0, 0x0F, 0xF0, 0x0F, 0xF0};

// Spare room behind the terminating zero of a text.
constexpr std::size_t TEXT_SLACK = 4;

using FileMessage = Message<const char*>;
using KeyMessage = Message<const char*, int>; // file, key found

/// Messages for a failed read of a length and its text.
struct TextMessages {
    FileMessage length;
    FileMessage memory;
    FileMessage text;
};

constexpr TextMessages ncd_messages{
    .length = "Error 9328. Failed to read header section of BIT file %s (ncd string length).",
    .memory = "Error 9329. Unable to allocate memory while reading header section of BIT file %s.",
    .text = "Error 9330. Failed to read header section of BIT file %s (ncd string).",
};
constexpr TextMessages device_messages{
    .length = "Error 9333. Failed to read header section of BIT file %s (device string length).",
    .memory = "Error 9334. Unable to allocate memory while reading header section of BIT file %s.",
    .text = "Error 9335. Failed to read header section of BIT file %s (device string).",
};
constexpr TextMessages date_messages{
    .length = "Error 9339. Failed to read header section of BIT file %s (date string length).",
    .memory = "Error 9340. Unable to allocate memory while reading header section of BIT file %s.",
    .text = "Error 9341. Failed to read header section of BIT file %s (date string).",
};
constexpr TextMessages time_messages{
    .length = "Error 9344. Failed to read header section of BIT file %s (time string length).",
    .memory = "Error 9345. Unable to allocate memory while reading header section of BIT file %s.",
    .text = "Error 9346. Failed to read header section of BIT file %s (time string).",
};

/// Reads the fields of a header in their order. Each step returns 0 or the number of its error.
class HeaderReader
{
public:
    HeaderReader(kvn_fpga_imp& session, FILE* stream, BitHeader& header)
        : session_{session}, stream_{stream}, header_{header}
    {
    }

    int read()
    {
        if (const int error = read_magic())
            return error;
        if (const int error = read_first_key())
            return error;
        if (const int error = read_text(header_.ncd_length, header_.ncd_name, ncd_messages))
            return error;
        if (const int error =
                read_key(header_.b_key, 'b',
                         "Error 9331. Failed to read header section of BIT file %s ('b' character).",
                         "Error 9332. Expected to find 'b' in header of BIT file %s, but found %c."))
            return error;
        if (const int error = read_text(header_.device_length, header_.device, device_messages))
            return error;
        if (const int error = check_device())
            return error;
        if (const int error =
                read_key(header_.c_key, 'c',
                         "Error 9337. Failed to read header section of BIT file %s ('c' character).",
                         "Error 9338. Expected to find 'c' in header of BIT file %s, but found %c."))
            return error;
        if (const int error = read_text(header_.date_length, header_.date, date_messages))
            return error;
        if (const int error =
                read_key(header_.d_key, 'd',
                         "Error 9342. Failed to read header section of BIT file %s ('d' character).",
                         "Error 9343. Expected to find 'd' in header of BIT file %s, but found %c."))
            return error;
        if (const int error = read_text(header_.time_length, header_.time, time_messages))
            return error;
        if (const int error =
                read_key(header_.e_key, 'e',
                         "Error 9347. Failed to read header section of BIT file %s ('e' character).",
                         "Error 9348. Expected to find 'e' in header of BIT file %s, but found %c."))
            return error;
        if (!read_number<4>(header_.byte_count))
            return fail("Error 9349. Failed to read header section of BIT file %s (number of bits).");
        return 0;
    }

private:
    int read_magic()
    {
        if (!read_number<2>(header_.magic_length))
            return fail("Error 9320. Failed to read header section of BIT file %s (magic header length).");
        if (header_.magic_length != sizeof header_.magic)
            return session_.fail(
                "Error 9321. Expected length of 9 in header section of BIT file %s (found %d).",
                session_.bitstream_file, header_.magic_length);
        if (!read_exactly(stream_, header_.magic, sizeof header_.magic))
            return fail("Error 9322. Failed to read header section of BIT file %s (magic string).");
        // The ninth byte is not examined.
        if (std::memcmp(header_.magic, magic_bytes, sizeof magic_bytes) != 0)
            return fail("Error 9323. Header of file %s indicates it is not a BIT file.");
        return 0;
    }

    int read_first_key()
    {
        if (!read_number<2>(header_.a_length))
            return fail("Error 9324. Failed to read header section of BIT file %s ('a' char length).");
        if (header_.a_length != 1)
            return session_.fail(
                "Error 9325. Expected length of 1 in header section of BIT file %s (found %d).",
                session_.bitstream_file, header_.a_length);
        return read_key(header_.a_key, 'a',
                        "Error 9326. Failed to read header section of BIT file %s ('a' character).",
                        "Error 9327. Expected to find 'a' in header of BIT file %s, but found %c.");
    }

    int read_key(char& key, char expected, const FileMessage& unreadable, const KeyMessage& unexpected)
    {
        if (!read_exactly(stream_, &key, 1))
            return fail(unreadable);
        if (key != expected)
            return session_.fail(unexpected, session_.bitstream_file, key);
        return 0;
    }

    int read_text(std::uint32_t& length, char*& text, const TextMessages& messages)
    {
        if (!read_number<2>(length))
            return fail(messages.length);
        text = new (std::nothrow) char[length + TEXT_SLACK];
        if (text == nullptr)
            return fail(messages.memory);
        if (!read_exactly(stream_, text, length))
            return fail(messages.text);
        text[length] = '\0';
        return 0;
    }

    int check_device()
    {
        if (!suits_device(session_.device_name, header_.device))
            return session_.fail("Error 9336. Bitstream %s is not for a %s device.", session_.bitstream_file,
                                 session_.device_name);
        if (session_.verbose)
            session_.print("The bitstream is for a %s device.\n", header_.device);
        return 0;
    }

    /// Reads a big-endian number.
    template <std::size_t Size>
    bool read_number(std::uint32_t& number)
    {
        std::uint8_t bytes[Size];
        if (!read_exactly(stream_, bytes, Size))
            return false;
        number = 0;
        for (const std::uint8_t byte : bytes)
            number = number << 8 | byte;
        return true;
    }

    int fail(const FileMessage& message) { return session_.fail(message, session_.bitstream_file); }

    kvn_fpga_imp& session_;
    FILE* stream_;
    BitHeader& header_;
};
} // namespace

/// On failure the stream has been closed and the texts have been released.
int kvn_fpga_imp::Read_Bitstream_Hdr_bit(FILE* stream, BitHeader* header)
{
    *header = BitHeader{};
    const int error = HeaderReader{*this, stream, *header}.read();
    if (error != 0) {
        free_header(header);
        take_over(stream).reset();
    }
    return error;
}

void kvn_fpga_imp::free_header(BitHeader* header)
{
    for (char** text : {&header->time, &header->date, &header->device, &header->ncd_name}) {
        delete[] * text;
        *text = nullptr;
    }
}
