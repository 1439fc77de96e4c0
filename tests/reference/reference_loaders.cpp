// The reference model's loaders: RBT, BIT and MCB files to a module.
#include "reference_model.h"

#include <cstring>

namespace reference
{

namespace
{

const uint32_t TIMEOUT = 5000;
const Byte CONFIGURED = 5;

bool read_line(FILE* file, int limit, std::string& line)
{
    char buffer[256] = "";
    if (std::fgets(buffer, limit, file) == nullptr)
        return false;
    line = buffer;
    return true;
}

/// What could be read is seen by the stream's indicators alone.
void read_into(void* destination, std::size_t size, FILE* file)
{
    if (std::fread(destination, 1, size, file) != size)
        return;
}

bool stopped(FILE* file)
{
    return std::ferror(file) != 0 || std::feof(file) != 0;
}

/// 32-bit arithmetic that wraps.
int32_t percent(int32_t done, int32_t stated)
{
    const int32_t hundredfold = static_cast<int32_t>(static_cast<uint32_t>(done) * 100U);
    return static_cast<int32_t>(static_cast<int64_t>(hundredfold) / stated);
}

/// Closes the file wherever a load ends.
struct Closing {
    FILE* file;
    explicit Closing(FILE* given) : file{given} {}
    Closing(const Closing&) = delete;
    Closing& operator=(const Closing&) = delete;
    ~Closing() { now(); }
    void now()
    {
        if (file != nullptr)
            std::fclose(file);
        file = nullptr;
    }
};

} // namespace

/// The numbers of what follows the data, which the three loaders have in the same order.
struct Model::Numbers {
    int end;
    int start_reply;
    int read_reply;
    int end_reply;
    const char* end_reply_words;
};

bool Model::compressed() const
{
    return supports_compressed_loading && !never_compress;
}

int Model::cannot(int number, const char* what, uint32_t status)
{
    return fail(number, "Error %d. Cannot %s, slot 0x%x (via '%s %d') (%s).", number, what, slot_address,
                board_type.c_str(), board_number, api_text(status).c_str());
}

int Model::cannot_send(int number, uint32_t status)
{
    return cannot(number, "send KSB message data", status);
}

int Model::cannot_reply(int number, const char* what, uint32_t status)
{
    return fail(number, "Error %d. Cannot %s (via '%s %d') (%s).", number, what, board_type.c_str(),
                board_number, api_text(status).c_str());
}

/// The line that names the module's family is never printed: nothing sets the type that it depends on.
void Model::announce()
{
    print("Checking header section of the file <%s>.\n", bitstream_file.c_str());
}

int Model::start_load(int start_number, int header_number)
{
    if (prompt_user)
        xprompt("Press return to send configuration bitstream.");
    if (const uint32_t status =
            platform_.StartSendMessageEx(handle, (slot_address >> 4) & 15, slot_address & 15, TIMEOUT))
        return cannot(start_number, "start KSB message", status);
    if (compressed())
        print("Sending in compressed format.\n");
    const Byte header[2] = {static_cast<Byte>(compressed() ? 13 : 3),
                            static_cast<Byte>(board_number << 3 | 5)};
    if (const uint32_t status = platform_.SendMessageDataEx(handle, header, 2, TIMEOUT))
        return cannot_send(header_number, status);
    return 0;
}

void Model::bit_progress(int32_t bit_count, int32_t stated_bits)
{
    if (bit_count % 20000 == 0 && stated_bits != 0)
        print("\r%% Done: %d", percent(bit_count, stated_bits));
}

void Model::final_progress(int32_t done, int32_t stated, const char* end)
{
    if (stated != 0)
        print("\r%% Done: %d%s", percent(done, stated), end);
}

int Model::finish_load(const Numbers& numbers, Byte& status)
{
    if (const uint32_t code = platform_.EndOfSendMessageEx(handle, TIMEOUT))
        return cannot(numbers.end, "end KSB message", code);
    uint32_t type = 0;
    if (const uint32_t code = platform_.StartReceiveMessageEx(handle, &type, TIMEOUT))
        return cannot_reply(numbers.start_reply, "start receive KSB message", code);
    Byte reply[2] = {0, 0};
    uint32_t received = 0;
    if (const uint32_t code = platform_.ReceiveMessageDataEx(handle, reply, 2, &received, TIMEOUT))
        return cannot_reply(numbers.read_reply, "receive KSB message data", code);
    if (const uint32_t code = platform_.EndOfReceiveMessageEx(handle, TIMEOUT))
        return cannot_reply(numbers.end_reply, numbers.end_reply_words, code);
    status = reply[0];
    return 0;
}

int Model::succeed()
{
    print("Configuration was successful.\n");
    if (prompt_user)
        xprompt("Press return to continue.");
    return 0;
}

int Model::load_rbt()
{
    Closing file{rbt_fp};
    rbt_fp = nullptr;
    const char* name = bitstream_file.c_str();
    announce();
    std::string line;
    if (!read_line(file.file, 255, line))
        return fail(9100, "Error 9100. Failed to read header section of RBT file %s.", name);
    if (line != "Xilinx ASCII Bitstream\n")
        return fail(9101, "Error 9101. Invalid first line in RBT file %s.", name);
    for (int number = 2; number <= 5; ++number) {
        if (!read_line(file.file, 255, line))
            return fail(9102, "Error 9102. Failed to read header section of RBT file %s.", name);
    }
    const std::string device = device_field(line);
    if (!suits_the_module(device))
        return fail(9103, "Error 9103. Bitstream %s is not for a %s device.", name, device_name.c_str());
    if (verbose)
        print("The bitstream is for a %s device.\n", device.c_str());
    if (!read_line(file.file, 255, line))
        return fail(9104, "Error 9104. Failed to read header section of RBT file %s.", name);
    std::size_t position = 0;
    if (!find_word(line, "bits:", position)) {
        if (!read_line(file.file, 255, line))
            return fail(9120, "Error 9120. Failed to read header section of RBT file %s.", name);
    }
    if (!find_word(line, "bits:", position))
        return fail(9120, "Error 9121. Failed to find bit size of RBT %s.", name);
    const int32_t stated_bits = stated_number(line, position + 5);
    if (verbose)
        print("The bitstream contains %d configuration bits.\n", stated_bits);
    if (const int error = start_load(9105, 9106))
        return error;

    int32_t bit_count = 0;
    Byte run_value = 0;
    int run_count = 0;
    while (read_line(file.file, 40, line)) {
        const int length = static_cast<int>(line.size());
        if (length != 33 && compressed())
            return fail(9107, "Error 9107. Incorrect line length (%d), bit_count = %d, in RBT file %s.",
                        length, bit_count, name);
        if (length != 33)
            return fail(9112, "Error 9112. Incorrect line length (%d), bit_count = %d, in RBT file %s.",
                        length, bit_count, name);
        const Bytes word = word_of(line);
        if (compressed()) {
            if (bit_count == 0)
                run_value = word[0];
            for (const Byte byte : word) {
                if (byte != run_value || run_count == 255) {
                    if (const uint32_t status = buffered_send({static_cast<Byte>(run_count)}))
                        return cannot_send(9108, status);
                    if (const uint32_t status = buffered_send({run_value}))
                        return cannot_send(9109, status);
                    run_count = 1;
                    run_value = byte;
                } else {
                    ++run_count;
                }
            }
        } else if (virtex2_family || bit_count < static_cast<int64_t>(stated_bits) - 128) {
            for (const Byte byte : word) {
                if (const uint32_t status = buffered_send({byte}))
                    return fail(9140, "Error 9140. Cannot send KSB message data, board \"%s %d\" (%s).",
                                board_type.c_str(), board_number, api_text(status).c_str());
            }
        }
        bit_count += 32;
        bit_progress(bit_count, stated_bits);
    }
    if (compressed()) {
        if (const uint32_t status = buffered_send({static_cast<Byte>(run_count)}))
            return cannot_send(9110, status);
        if (const uint32_t status = buffered_send({run_value}))
            return cannot_send(9111, status);
    }
    if (const uint32_t status = flush())
        return cannot_send(9122, status);
    final_progress(bit_count, stated_bits, "\n");
    file.now();
    const bool bits_match = bit_count == stated_bits;
    if (bits_match) {
        print("The bitstream has been downloaded.\n");
    } else {
        print("Incorrect number of bits in RBT file (%d found, %d stated).\n", bit_count, stated_bits);
        fail(9113, "Error 9113. Incorrect number of bits (%d, %d) in RBT file %s.", stated_bits, bit_count,
             name);
    }
    Byte status = 0;
    if (const int error = finish_load({9114, 9115, 9116, 9117, "end KSB message"}, status))
        return error;
    if (status == CONFIGURED && bits_match)
        return succeed();
    if (status == CONFIGURED)
        return fail(
            9113,
            "Error 9113. Configuration successfull, but found incorrect number of bits (%d, %d) in RBT file %s.",
            stated_bits, bit_count, name);
    if (!bits_match)
        return fail(
            9119,
            "Error 9119. Configuration unsuccessfull. Incorrect number of bits (%d, %d) in RBT file %s.",
            stated_bits, bit_count, name);
    return fail(9118, "Error 9118. Configuration was unsuccessful (%d).", status);
}

int Model::load_bit()
{
    Closing file{bin_fp};
    bin_fp = nullptr;
    const char* name = bitstream_file.c_str();
    announce();
    BitFileHeader header;
    if (const int error = read_bit_header(file.file, header))
        return error;
    last_error = 0;
    const int32_t stated_bits = static_cast<int32_t>(header.byte_count * 8U);
    if (verbose)
        print("The bitstream contains %d configuration bits.\n", stated_bits);
    if (const int error = start_load(9350, 9351))
        return error;

    int32_t bit_count = 0;
    Byte run_value = 0;
    int run_count = 0;
    for (;;) {
        Byte read[4] = {};
        const int length = static_cast<int>(std::fread(read, 1, 4, file.file));
        if (stopped(file.file) && compressed())
            return fail(9352, "Error 9352. Failed to read BIT file %s (after %d bits read, expected %d).",
                        name, bit_count, stated_bits);
        if (stopped(file.file))
            return fail(9358, "Error 9358. Failed to read BIT file %s (after %d bits read, expected %d).",
                        name, bit_count, stated_bits);
        if (length != 4 && compressed())
            return fail(9353, "Error 9353. Incorrect word length (%d), bit_count = %d, in BIT file %s.",
                        length, bit_count, name);
        if (length != 4)
            return fail(9359, "Error 9359. Incorrect word length (%d), bit_count = %d, in BIT file %s.",
                        length, bit_count, name);
        Bytes word;
        for (const Byte byte : read)
            word.push_back(reversed(byte));
        if (compressed()) {
            if (bit_count == 0)
                run_value = word[0];
            for (const Byte byte : word) {
                if (byte != run_value || run_count == 255) {
                    if (const uint32_t status = buffered_send({static_cast<Byte>(run_count)}))
                        return cannot_send(9354, status);
                    if (const uint32_t status = buffered_send({run_value}))
                        return cannot_send(9355, status);
                    run_count = 1;
                    run_value = byte;
                } else {
                    ++run_count;
                }
            }
        } else if (virtex2_family || bit_count < static_cast<int64_t>(stated_bits) - 128) {
            if (const uint32_t status = buffered_send(word))
                return fail(9390, "Error 9390. Cannot send KSB message data, board \"%s %d\" (%s).",
                            board_type.c_str(), board_number, api_text(status).c_str());
        }
        bit_count += 32;
        bit_progress(bit_count, stated_bits);
        if (bit_count < stated_bits)
            continue;
        Byte probe[1024];
        const std::size_t got = std::fread(probe, 1, compressed() ? 1024 : 1, file.file);
        if (!stopped(file.file))
            bit_count += static_cast<int32_t>(got);
        break;
    }
    if (compressed()) {
        if (const uint32_t status = buffered_send({static_cast<Byte>(run_count)}))
            return cannot_send(9356, status);
        if (const uint32_t status = buffered_send({run_value}))
            return cannot_send(9357, status);
    }
    if (const uint32_t status = flush())
        return cannot_send(9368, status);
    final_progress(bit_count, stated_bits, "\n");
    file.now();
    const bool bits_match = bit_count == stated_bits;
    if (bits_match) {
        print("The bitstream has been downloaded.\n");
    } else {
        print("Incorrect number of bits in BIT file (%d found, %d stated).\n", bit_count, stated_bits);
        fail(9360, "Error 9360. Incorrect number of bits (%d, %d) in BIT file %s.", stated_bits, bit_count,
             name);
    }
    Byte status = 0;
    if (const int error = finish_load({9361, 9362, 9363, 9364, "end KSB message"}, status))
        return error;
    if (status == CONFIGURED && bits_match)
        return succeed();
    if (status == CONFIGURED)
        return fail(
            9365,
            "Error 9365. Configuration successfull, but found incorrect number of bits (%d, %d) in BIT file %s.",
            stated_bits, bit_count, name);
    if (!bits_match)
        return fail(
            9367,
            "Error 9367. Configuration unsuccessfull. Incorrect number of bits (%d, %d) in BIT file %s.",
            stated_bits, bit_count, name);
    return fail(9366, "Error 9366. Configuration was unsuccessful (%d).", status);
}

int Model::load_mcb()
{
    Closing file{bin_fp};
    bin_fp = nullptr;
    const char* name = bitstream_file.c_str();
    announce();
    Byte magic[8] = {};
    read_into(magic, 8, file.file);
    if (stopped(file.file))
        return fail(9150, "Error 9150. Failed to read header section of MCB file %s.", name);
    if (std::memcmp(magic, "\x78\x12\x44\x00\x88\x01\x76\x00", 8) != 0)
        return fail(9151, "Error 9151. Invalid magic numbers in MCB file %s.", name);
    char text[256] = "";
    read_into(text, 255, file.file);
    if (stopped(file.file))
        return fail(9152, "Error 9152. Failed to read device type from MCB file %s.", name);
    if (!suits_the_module(text))
        return fail(9153, "Error 9153. Bitstream %s is not for a %s device.", name, device_name.c_str());
    if (verbose)
        print("The bitstream is for a %s device.\n", device_name.c_str());
    read_into(text, 255, file.file);
    if (stopped(file.file))
        return fail(9154, "Error 9154. Failed to read timestamp from MCB file %s.", name);
    Byte size[4] = {};
    read_into(size, 4, file.file);
    if (stopped(file.file))
        return fail(9155, "Error 9155. Failed to read number of bytes from MCB file %s.", name);
    const int32_t total_bytes =
        static_cast<int32_t>(size[0] + 256U * size[1] + 65536U * size[2] + 16777216U * size[3]);
    if (verbose)
        print("The compressed file contains %d configuration bytes.\n", total_bytes);
    if (const int error = start_load(9156, 9157))
        return error;

    int32_t bytes_done = 0;
    int32_t last_shown = 0;
    while (bytes_done < total_bytes) {
        Byte count = 0;
        Byte value = 0;
        read_into(&count, 1, file.file);
        if (std::ferror(file.file) != 0)
            return fail(9158, "Error 9158. Failed to read of MCB file %s.", name);
        if (std::feof(file.file) != 0)
            return fail(9159, "Error 9159. End of MCB file %s reached unexpectedly.", name);
        read_into(&value, 1, file.file);
        if (std::ferror(file.file) != 0)
            return fail(9160, "Error 9160. Failed to read of MCB file %s.", name);
        if (std::feof(file.file) != 0)
            return fail(9161, "Error 9161. End of MCB file %s reached unexpectedly.", name);
        if (!virtex2_family && bytes_done + count >= total_bytes - 4) {
            if (compressed()) {
                const Byte cut = static_cast<Byte>((total_bytes & 0xFF) - (bytes_done & 0xFF) - 4);
                if (const uint32_t status = buffered_send({cut}))
                    return cannot_send(9165, status);
                if (const uint32_t status = buffered_send({value}))
                    return cannot_send(9166, status);
            } else {
                for (; bytes_done < total_bytes - 4; ++bytes_done) {
                    if (const uint32_t status = buffered_send({value}))
                        return cannot_send(9167, status);
                }
            }
            bytes_done = total_bytes;
        } else {
            if (compressed()) {
                if (const uint32_t status = buffered_send({count}))
                    return cannot_send(9162, status);
                if (const uint32_t status = buffered_send({value}))
                    return cannot_send(9163, status);
            } else if (const uint32_t status = buffered_send(Bytes(count, value))) {
                return cannot_send(9164, status);
            }
            bytes_done += count;
        }
        if (bytes_done > last_shown + 5000) {
            print("\r%% Done: %d", percent(bytes_done, total_bytes));
            last_shown = bytes_done;
        }
    }
    if (const uint32_t status = flush())
        return cannot_send(9173, status);
    final_progress(bytes_done, total_bytes, " \n");
    file.now();
    print("The bitstream has been downloaded.\n");
    Byte status = 0;
    if (const int error = finish_load({9168, 9169, 9170, 9171, "end receive KSB message"}, status))
        return error;
    if (status == CONFIGURED)
        return succeed();
    return fail(9172, "Error 9172. Configuration was unsuccessful %d.", status);
}

} // namespace reference
