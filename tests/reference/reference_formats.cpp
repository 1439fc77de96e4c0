// The reference model's file formats: the BIT header and the three converters.
#include "reference_model.h"

#include <array>
#include <cstring>

namespace reference
{

namespace
{

const char* const TITLE = "Xilinx ASCII Bitstream\n";
const uint32_t FIRST_MAGIC = 0x00441278;
const uint32_t SECOND_MAGIC = 0x00760188;

/// Reads a line as fgets does; false when nothing can be read. The text ends at its first zero byte.
bool read_line(FILE* file, int limit, std::string& line)
{
    char buffer[256] = "";
    if (std::fgets(buffer, limit, file) == nullptr)
        return false;
    line = buffer;
    return true;
}

/// False when the stream then shows an error or the end of the file.
bool read_bytes(FILE* file, std::size_t count, Bytes& bytes)
{
    bytes.assign(count, 0);
    for (std::size_t i = 0; i < count; ++i) {
        if (std::fread(&bytes[i], 1, 1, file) != 1) {
            bytes.resize(i);
            break;
        }
    }
    return std::ferror(file) == 0 && std::feof(file) == 0;
}

std::string text_of(const Bytes& bytes)
{
    std::string text;
    for (const Byte byte : bytes) {
        if (byte == 0)
            break;
        text += static_cast<char>(byte);
    }
    return text;
}

uint32_t big_endian(const Bytes& bytes)
{
    uint32_t value = 0;
    for (const Byte byte : bytes)
        value = value * 256 + byte;
    return value;
}

uint32_t little_endian(const Byte* bytes)
{
    return bytes[0] + 256U * bytes[1] + 65536U * bytes[2] + 16777216U * bytes[3];
}

bool write_byte(FILE* file, int byte)
{
    return std::fputc(byte, file) != EOF;
}

bool write_integer(FILE* file, uint32_t value)
{
    bool written = true;
    for (int i = 0; i < 4; ++i)
        written = write_byte(file, static_cast<int>(value >> (8 * i) & 0xFF)) && written;
    return written;
}

/// A text field of 255 bytes: the text, its zero byte, and zero bytes behind it.
bool write_field(FILE* file, const std::string& text)
{
    bool written = true;
    for (std::size_t i = 0; i < 255; ++i)
        written = write_byte(file, i < text.size() && i < 254 ? static_cast<Byte>(text[i]) : 0) && written;
    return written;
}

int percent(int64_t done, int64_t stated)
{
    return stated <= 0 ? 100 : static_cast<int>(done * 100 / stated);
}

/// Two files that are closed whatever happens. The output waits in a buffer of 64 KiB, so a full disk shows
/// when a byte no longer fits it, and at the end.
struct Files {
    FILE* in = nullptr;
    FILE* out = nullptr;
    std::vector<char> buffer = std::vector<char>(65536);
    Files() = default;
    Files(const Files&) = delete;
    Files& operator=(const Files&) = delete;
    ~Files() { close(); }
    void create(const char* name, const char* mode)
    {
        out = std::fopen(name, mode);
        if (out != nullptr)
            std::setvbuf(out, buffer.data(), _IOFBF, buffer.size());
    }
    /// False when what was still to be written could not be.
    bool close()
    {
        bool good = true;
        if (in != nullptr)
            std::fclose(in);
        if (out != nullptr)
            good = std::fclose(out) == 0;
        in = nullptr;
        out = nullptr;
        return good;
    }
};

/// The run of equal bytes that is being counted.
struct Run {
    Byte value = 0;
    int count = 0;
    int written = 0;
};

int write_run(FILE* out, const Run& run, int count_error, int value_error)
{
    if (!write_byte(out, run.count))
        return count_error;
    return write_byte(out, run.value) ? 0 : value_error;
}

int code_word(FILE* out, Run& run, const Bytes& word, int count_error, int value_error)
{
    for (const Byte byte : word) {
        if (byte != run.value || run.count == 255) {
            if (const int error = write_run(out, run, count_error, value_error))
                return error;
            ++run.written;
            run.count = 1;
            run.value = byte;
        } else {
            ++run.count;
        }
    }
    return 0;
}

} // namespace

// BIT file header

/// The part of the module's device name before its first '-' must begin the file's device.
bool Model::suits_the_module(const std::string& device)
{
    for (std::size_t i = 0; i < device_name.size() && device_name[i] != '-'; ++i) {
        if (i >= device.size() || device[i] != device_name[i])
            return false;
    }
    return true;
}

int Model::read_bit_header(FILE* file, BitFileHeader& header)
{
    const char* name = bitstream_file.c_str();
    Bytes bytes;
    if (!read_bytes(file, 2, bytes))
        return fail(9320, "Error 9320. Failed to read header section of BIT file %s (magic header length).",
                    name);
    if (big_endian(bytes) != 9)
        return fail(9321, "Error 9321. Expected length of 9 in header section of BIT file %s (found %d).",
                    name, static_cast<int>(big_endian(bytes)));
    if (!read_bytes(file, 9, bytes))
        return fail(9322, "Error 9322. Failed to read header section of BIT file %s (magic string).", name);
    for (std::size_t i = 0; i < 8; ++i) {
        if (bytes[i] != (i % 2 == 0 ? 0x0F : 0xF0))
            return fail(9323, "Error 9323. Header of file %s indicates it is not a BIT file.", name);
    }
    if (!read_bytes(file, 2, bytes))
        return fail(9324, "Error 9324. Failed to read header section of BIT file %s ('a' char length).",
                    name);
    if (big_endian(bytes) != 1)
        return fail(9325, "Error 9325. Expected length of 1 in header section of BIT file %s (found %d).",
                    name, static_cast<int>(big_endian(bytes)));
    if (!read_bytes(file, 1, bytes))
        return fail(9326, "Error 9326. Failed to read header section of BIT file %s ('a' character).", name);
    if (bytes[0] != 'a')
        return fail(9327, "Error 9327. Expected to find 'a' in header of BIT file %s, but found %c.", name,
                    bytes[0]);
    if (!read_bytes(file, 2, bytes))
        return fail(9328, "Error 9328. Failed to read header section of BIT file %s (ncd string length).",
                    name);
    if (!read_bytes(file, big_endian(bytes), bytes))
        return fail(9330, "Error 9330. Failed to read header section of BIT file %s (ncd string).", name);
    if (!read_bytes(file, 1, bytes))
        return fail(9331, "Error 9331. Failed to read header section of BIT file %s ('b' character).", name);
    if (bytes[0] != 'b')
        return fail(9332, "Error 9332. Expected to find 'b' in header of BIT file %s, but found %c.", name,
                    bytes[0]);
    if (!read_bytes(file, 2, bytes))
        return fail(9333, "Error 9333. Failed to read header section of BIT file %s (device string length).",
                    name);
    if (!read_bytes(file, big_endian(bytes), bytes))
        return fail(9335, "Error 9335. Failed to read header section of BIT file %s (device string).", name);
    header.device = text_of(bytes);
    if (!suits_the_module(header.device))
        return fail(9336, "Error 9336. Bitstream %s is not for a %s device.", name, device_name.c_str());
    if (verbose)
        print("The bitstream is for a %s device.\n", header.device.c_str());
    if (!read_bytes(file, 1, bytes))
        return fail(9337, "Error 9337. Failed to read header section of BIT file %s ('c' character).", name);
    if (bytes[0] != 'c')
        return fail(9338, "Error 9338. Expected to find 'c' in header of BIT file %s, but found %c.", name,
                    bytes[0]);
    if (!read_bytes(file, 2, bytes))
        return fail(9339, "Error 9339. Failed to read header section of BIT file %s (date string length).",
                    name);
    if (!read_bytes(file, big_endian(bytes), bytes))
        return fail(9341, "Error 9341. Failed to read header section of BIT file %s (date string).", name);
    header.date = text_of(bytes);
    if (!read_bytes(file, 1, bytes))
        return fail(9342, "Error 9342. Failed to read header section of BIT file %s ('d' character).", name);
    if (bytes[0] != 'd')
        return fail(9343, "Error 9343. Expected to find 'd' in header of BIT file %s, but found %c.", name,
                    bytes[0]);
    if (!read_bytes(file, 2, bytes))
        return fail(9344, "Error 9344. Failed to read header section of BIT file %s (time string length).",
                    name);
    if (!read_bytes(file, big_endian(bytes), bytes))
        return fail(9346, "Error 9346. Failed to read header section of BIT file %s (time string).", name);
    header.time = text_of(bytes);
    if (!read_bytes(file, 1, bytes))
        return fail(9347, "Error 9347. Failed to read header section of BIT file %s ('e' character).", name);
    if (bytes[0] != 'e')
        return fail(9348, "Error 9348. Expected to find 'e' in header of BIT file %s, but found %c.", name,
                    bytes[0]);
    if (!read_bytes(file, 4, bytes))
        return fail(9349, "Error 9349. Failed to read header section of BIT file %s (number of bits).", name);
    header.byte_count = big_endian(bytes);
    return 0;
}

// Converters

std::string Model::output_name(const char* extension) const
{
    return bitstream_file.substr(0, bitstream_file.size() - 3) + extension;
}

int Model::make_mcb_from_rbt(FILE* in)
{
    rbt_fp = nullptr;
    Files files;
    files.in = in;
    const char* in_name = bitstream_file.c_str();
    const std::string out_string = output_name("mcb");
    const char* out_name = out_string.c_str();

    print("\nGenerating an MCB file from %s.\n", in_name);
    print("Checking header section of file <%s>.\n", in_name);
    std::string line;
    if (!read_line(files.in, 255, line))
        return fail(9240, "Error 9240. Failed to read header section of RBT file %s.", in_name);
    if (line != TITLE)
        return fail(9241, "Error 9241. Invalid first line in RBT file %s.", in_name);
    files.create(out_name, "wb");
    if (files.out == nullptr)
        return fail(9242, "Error 9242. Cannot open/create MCB file %s.", out_name);
    if (!write_integer(files.out, FIRST_MAGIC))
        return fail(9243, "Error 9243. Cannot write header to MCB file %s.", out_name);
    if (!write_integer(files.out, SECOND_MAGIC))
        return fail(9244, "Error 9244. Cannot write header to MCB file %s.", out_name);
    for (int number = 2; number <= 5; ++number) {
        if (!read_line(files.in, 255, line))
            return fail(9245, "Error 9245. Failed to read header section of RBT file %s.", in_name);
    }
    const std::string device = device_field(line);
    if (verbose)
        print("The bitstream is for a %s device.\n", device.c_str());
    if (!write_field(files.out, device))
        return fail(9246, "Error 9246. Cannot write header to MCB file %s.", out_name);
    if (!read_line(files.in, 255, line))
        return fail(9247, "Error 9247. Failed to read header section of RBT file %s.", in_name);
    std::size_t position = 0;
    const bool has_date_line = !find_word(line, "bits:", position);
    std::string timestamp = has_date_line ? line : line.substr(0, position);
    if (verbose)
        print("Time and date string is:\n%s\n", timestamp.c_str());
    if (!has_date_line)
        timestamp += "\n";
    if (!write_field(files.out, timestamp))
        return fail(9248, "Error 9248. Cannot write header to MCB file %s.", out_name);
    if (has_date_line && !read_line(files.in, 255, line))
        return fail(9249, "Error 9249. Failed to read header section of RBT file %s.", in_name);
    if (!find_word(line, "bits:", position))
        return fail(9257, "Error 9257. Failed to find bit size of RBT file %s.", in_name);
    const int32_t stated_bits = stated_number(line, position + 5);
    if (verbose)
        print("The bitstream contains %d configuration bits.\n", stated_bits);
    if (!write_integer(files.out, static_cast<uint32_t>(stated_bits / 8)))
        return fail(9250, "Error 9250. Cannot write header to MCB file %s.", out_name);

    Run run;
    int32_t bits_found = 0;
    while (read_line(files.in, 40, line)) {
        if (line.size() != 33)
            return fail(9251, "Error 9251. Incorrect line length. Bit_count = %d. In RBT file %s.",
                        bits_found, in_name);
        const Bytes word = word_of(line);
        if (bits_found == 0)
            run.value = word[0];
        if (const int error = code_word(files.out, run, word, 9252, 9253))
            return fail(error, "Error %d. Cannot write MCB file data to MCB file %s.", error, out_name);
        bits_found += 32;
        if (bits_found % 20000 == 0 && stated_bits > 0)
            print("\r%% Done: %d", percent(bits_found, stated_bits));
    }
    if (const int error = write_run(files.out, run, 9254, 9255))
        return fail(error, "Error %d. Cannot write MCB file data to MCB file %s.", error, out_name);
    print("\r%% Done: %d, stored %d bytes representing %d bits\n", percent(bits_found, stated_bits),
          run.written + 2, stated_bits);
    const bool everything_written = files.close();
    if (bits_found != stated_bits)
        return fail(9256, "Error 9256. Incorrect number of bits in RBT file %s.", in_name);
    if (!everything_written)
        return fail(9255, "Error 9255. Cannot write MCB file data to MCB file %s.", out_name);
    print("The bitstream has been compressed.\n");
    return 0;
}

int Model::make_mcb_from_bit(FILE* in)
{
    bin_fp = nullptr;
    Files files;
    files.in = in;
    const char* in_name = bitstream_file.c_str();
    const std::string out_string = output_name("mcb");
    const char* out_name = out_string.c_str();

    print("\nGenerating an MCB file from %s.\n", in_name);
    print("Checking header section of file <%s>.\n", in_name);
    BitFileHeader header;
    if (const int error = read_bit_header(files.in, header))
        return error;
    files.create(out_name, "wb");
    if (files.out == nullptr)
        return fail(9410, "Error 9410. Cannot open/create MCB file %s.", out_name);
    if (!write_integer(files.out, FIRST_MAGIC))
        return fail(9411, "Error 9411. Cannot write header to MCB file %s.", out_name);
    if (!write_integer(files.out, SECOND_MAGIC))
        return fail(9412, "Error 9412. Cannot write header to MCB file %s.", out_name);
    if (!write_field(files.out, header.device))
        return fail(9413, "Error 9413. Cannot write header to MCB file %s.", out_name);
    if (verbose)
        print("Time and date string is:\n%s %s\n", header.date.c_str(), header.time.c_str());
    if (!write_field(files.out, header.date + " " + header.time))
        return fail(9414, "Error 9414. Cannot write header to MCB file %s.", out_name);
    const int32_t stated_bits = static_cast<int32_t>(header.byte_count * 8U);
    if (verbose)
        print("The bitstream contains %d configuration bits.\n", stated_bits);
    if (!write_integer(files.out, header.byte_count))
        return fail(9415, "Error 9415. Cannot write header to MCB file %s.", out_name);

    Run run;
    int32_t bits_found = 0;
    Bytes word;
    do {
        if (!read_bytes(files.in, 4, word))
            return fail(9416, "Error 9416. Failed to read BIT file %s (after %d bits read, expected %d).",
                        in_name, bits_found, stated_bits);
        if (word.size() != 4)
            return fail(9417, "Error 9417. Incorrect word length (%d), bit_count = %d, in BIT file %s.",
                        static_cast<int>(word.size()), bits_found, in_name);
        for (Byte& byte : word)
            byte = reversed(byte);
        if (bits_found == 0)
            run.value = word[0];
        if (const int error = code_word(files.out, run, word, 9418, 9419))
            return fail(error, "Error %d. Cannot write MCB file data to MCB file %s.", error, out_name);
        bits_found += 32;
        if (bits_found % 20000 == 0 && stated_bits > 0)
            print("\r%% Done: %d", percent(bits_found, stated_bits));
    } while (bits_found < stated_bits);
    Bytes trailing;
    if (read_bytes(files.in, 1024, trailing) && !trailing.empty())
        bits_found += static_cast<int32_t>(trailing.size());
    if (const int error = write_run(files.out, run, 9420, 9421))
        return fail(error, "Error %d. Cannot write MCB file data to MCB file %s.", error, out_name);
    print("\r%% Done: %d, stored %d bytes representing %d bits\n", percent(bits_found, stated_bits),
          run.written + 2, stated_bits);
    const bool everything_written = files.close();
    if (bits_found != stated_bits)
        return fail(9422, "Error 9422. Incorrect number of bits in BIT file %s.", in_name);
    if (!everything_written)
        return fail(9421, "Error 9421. Cannot write MCB file data to MCB file %s.", out_name);
    print("The bitstream has been compressed.\n");
    return 0;
}

namespace
{

/// Writes one data line; returns 0 or the number of the very character that could not be written.
int write_rbt_line(FILE* out, const std::array<Byte, 4>& bytes)
{
    for (const Byte byte : bytes) {
        for (int bit = 0; bit < 8; ++bit) {
            const bool one = (byte & (1 << bit)) != 0;
            if (!write_byte(out, one ? '1' : '0'))
                return one ? 9295 : 9296;
        }
    }
    return write_byte(out, '\n') ? 0 : 9297;
}

} // namespace

int Model::make_rbt_from_mcb(FILE* in)
{
    bin_fp = nullptr;
    Files files;
    files.in = in;
    const char* in_name = bitstream_file.c_str();
    const std::string out_string = output_name("rbt");
    const char* out_name = out_string.c_str();

    print("\nGenerating an RBT file from %s.\n", in_name);
    print("Checking header section of the file <%s>.\n", in_name);
    Bytes bytes;
    if (!read_bytes(files.in, 8, bytes))
        return fail(9270, "Error 9270. Failed to read header section of MCB file %s.", in_name);
    if (little_endian(&bytes[0]) != FIRST_MAGIC || little_endian(&bytes[4]) != SECOND_MAGIC)
        return fail(9271, "Error 9271. Invalid magic numbers in MCB file %s.", in_name);
    if (!read_bytes(files.in, 255, bytes))
        return fail(9272, "Error 9272. Failed to read device type from MCB file %s.", in_name);
    const std::string device = text_of(bytes);
    files.create(out_name, "w");
    if (files.out == nullptr)
        return fail(9273, "Error 9273. Cannot open/create RTB file %s.", out_name);
    if (std::fputs(TITLE, files.out) < 0)
        return fail(9274, "Error 9274. Failed to write header section of RBT file %s.", out_name);
    for (int i = 0; i < 3; ++i) {
        if (std::fputs("Generated by MARROWAY.\n", files.out) < 0)
            return fail(9275, "Error 9275. Failed to write header section of RBT file %s.", out_name);
    }
    if (std::fprintf(files.out, "Part:  %s\n", device.c_str()) < 0)
        return fail(9276, "Error 9276. Failed to write header section of RBT file %s.", out_name);
    if (!read_bytes(files.in, 255, bytes))
        return fail(9277, "Error 9277. Failed to read MCB file %s.", in_name);
    const std::string timestamp = text_of(bytes);
    if (!read_bytes(files.in, 4, bytes))
        return fail(9278, "Error 9278. Failed to read MCB file %s.", in_name);
    const int32_t byte_count = static_cast<int32_t>(little_endian(bytes.data()));
    if (std::fprintf(files.out, "%s", timestamp.c_str()) < 0)
        return fail(9279, "Error 9279. Failed to write header section of RBT file %s.", out_name);
    std::fprintf(files.out, "bits:   %d\n", static_cast<int32_t>(static_cast<uint32_t>(byte_count) * 8U));

    std::array<Byte, 4> line = {0, 0, 0, 0};
    std::size_t filled = 0;
    int32_t produced = 0;
    int32_t reported = 0;
    while (produced < byte_count) {
        Byte count = 0;
        Byte value = 0;
        std::size_t got = std::fread(&count, 1, 1, files.in);
        if (std::ferror(files.in) != 0)
            return fail(9280, "Error 9280. Failed to read MCB file %s.", in_name);
        if (got != 1)
            return fail(9281, "Error 9281. End of MCB file %s reached unexpectedly.", in_name);
        got = std::fread(&value, 1, 1, files.in);
        if (std::ferror(files.in) != 0)
            return fail(9282, "Error 9282. Failed to read MCB file %s.", in_name);
        if (got != 1)
            return fail(9283, "Error 9283. End of mcb file %s reached unexpectedly.", in_name);
        for (int copy = 0; copy < count; ++copy) {
            if (filled == 4) {
                if (const int error = write_rbt_line(files.out, line))
                    return fail(error, "Error %d. Failed to write to RBT file %s.", error, out_name);
                filled = 0;
            }
            line[filled++] = value;
        }
        produced += count;
        if (produced - reported > 1000) {
            print("\r%% Done: %d", percent(produced, byte_count));
            reported = produced;
        }
    }
    if (filled > 0) {
        if (const int error = write_rbt_line(files.out, line))
            return fail(error, "Error %d. Failed to write to RBT file %s.", error, out_name);
    }
    print("\r%% Done: %d\n", percent(produced, byte_count));
    const bool everything_written = files.close();
    if (produced != byte_count)
        return fail(9284, "Error 9284. Incorrect number of bytes in MCB file %s.", in_name);
    if (!everything_written)
        return fail(9297, "Error 9297. Failed to write to RBT file %s.", out_name);
    print("The bitstream has been un-compressed.\n");
    return 0;
}

} // namespace reference
