// SPDX-License-Identifier: Apache-2.0
// Writes an MCB file.
#include "formats/mcb_writer.h"

int McbWriter::write_field(const void* field, std::size_t size, const Message<const char*>& message)
{
    return output_.put(field, size) == size ? 0 : session_.fail(message, file_name_);
}

int McbWriter::write_number(std::uint32_t number, const Message<const char*>& message)
{
    const McbNumber field = to_mcb_number(number);
    return write_field(field.data(), field.size(), message);
}

int McbWriter::write_text(std::string_view text, const Message<const char*>& message)
{
    const McbText field = to_mcb_text(text);
    return write_field(field.data(), field.size(), message);
}

int McbWriter::write_pairs(const std::uint8_t* pairs, std::size_t size, const Message<const char*>& count,
                           const Message<const char*>& value)
{
    const std::size_t taken = output_.put(pairs, size);
    if (taken == size)
        return 0;
    return session_.fail(taken % PAIR_SIZE == 0 ? count : value, file_name_);
}

int McbWriter::write_words(std::span<const std::uint8_t> bytes, BitTally& bits)
{
    std::uint8_t pairs[PAIR_SIZE * BYTES_PER_REPORT];
    const std::size_t size = runs_.encode(bytes, pairs);
    if (const int error = write_pairs(pairs, size, messages_.count, messages_.value))
        return error;
    bits.add_words(bytes.size() / WORD_SIZE);
    if (bits.report_is_due() && bits.stated != 0)
        session_.show_progress(conversion_percent(bits.found, bits.stated));
    return 0;
}

int McbWriter::finish(const BitTally& bits)
{
    std::uint8_t pair[PAIR_SIZE];
    runs_.finish(pair);
    if (const int error = write_pairs(pair, sizeof pair, messages_.last_count, messages_.last_value))
        return error;
    // Required: the middle figure is the number of runs plus 1, not the size of the data.
    const auto stored = static_cast<int>(runs_.finished_runs() + 2);
    session_.print("\r%% Done: %d, stored %d bytes representing %d bits\n",
                   conversion_percent(bits.found, bits.stated), stored, bits.stated);
    complete_ = output_.close();
    return 0;
}

int McbWriter::check_file()
{
    return complete_ ? 0 : session_.fail(messages_.last_value, file_name_);
}
