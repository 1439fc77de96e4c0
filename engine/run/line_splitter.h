// SPDX-License-Identifier: Apache-2.0
// Cuts a stream of bytes into lines.
#ifndef KVN_ENGINE_RUN_LINE_SPLITTER_H
#define KVN_ENGINE_RUN_LINE_SPLITTER_H

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace kvn
{

class LineSplitter
{
public:
    /// @param longest in bytes, line feed included
    explicit LineSplitter(std::size_t longest) : longest_{longest} {}

    void take(std::string_view bytes) { held_.append(bytes); }

    /// The next line that is whole, without its line feed; null when there is none yet.
    [[nodiscard]] std::optional<std::string> next()
    {
        const std::size_t end = held_.find('\n', searched_);
        if (end == std::string::npos) {
            searched_ = held_.size();
            held_.erase(0, begin_);
            searched_ -= begin_;
            begin_ = 0;
            return std::nullopt;
        }
        std::string line = held_.substr(begin_, end - begin_);
        begin_ = end + 1;
        searched_ = begin_;
        return line;
    }

    /// Takes bytes that follow the last line that next() has returned, and are no line.
    /// @return how many were there: at most the size of the span
    std::size_t take_raw(std::span<char> to)
    {
        const std::size_t size = held_.copy(to.data(), to.size(), begin_);
        begin_ += size;
        searched_ = begin_;
        return size;
    }

    /// Whether a line is longer than allowed. To be asked when next() has returned null.
    [[nodiscard]] bool is_too_long() const { return held_.size() - begin_ >= longest_; }
    /// What is held of a line that is not whole.
    [[nodiscard]] std::string_view rest() const { return std::string_view{held_}.substr(begin_); }

private:
    std::size_t longest_;
    std::string held_;
    std::size_t begin_ = 0;    ///< of the next line
    std::size_t searched_ = 0; ///< up to here there is no line feed
};

} // namespace kvn

#endif
