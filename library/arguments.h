// SPDX-License-Identifier: Apache-2.0
// Arguments and structures of callers: all are checked before they are used.
#ifndef KVN_LIBRARY_ARGUMENTS_H
#define KVN_LIBRARY_ARGUMENTS_H

#include "kvn.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>

namespace kvn::c_interface
{

/// @throws FailureError of ExitStatus::usage, always
[[noreturn]] void refuse(std::string what, std::string why = {}, std::string remedy = {});

/// @throws FailureError (ExitStatus::usage) for a null pointer; so do all functions that take a name
void require_pointer(const void* pointer, const char* name);

/// @param name of the argument
/// @throws FailureError (ExitStatus::usage) also for a text that is too long
std::string text_argument(const char* text, const char* name);
/// The same for one that may be null, which is the empty text.
std::string optional_text_argument(const char* text, const char* name);
/// The same, where null and the empty text mean that there is none.
std::optional<std::string> text_if_any(const char* text, const char* name);

/// @return the number, which is one of 0 to most
/// @throws FailureError (ExitStatus::usage)
int choice_argument(int value, int most, const char* name);
/// @throws FailureError (ExitStatus::usage) for neither 0 nor 1
bool flag_argument(int value, const char* name);

template <class Number, class Known>
Number number_or_unknown(const std::optional<Known>& known)
{
    return known ? static_cast<Number>(*known) : Number{KVN_UNKNOWN};
}

/// The size of the first version of each structure: that of its members then.
template <class Structure>
struct FirstVersion;

template <>
struct FirstVersion<kvn_provider> {
    static constexpr const char* name = "kvn_provider";
    static constexpr std::size_t size = offsetof(kvn_provider, simulated) + sizeof(std::int32_t);
};
template <>
struct FirstVersion<kvn_inspection> {
    static constexpr const char* name = "kvn_inspection";
    static constexpr std::size_t size = offsetof(kvn_inspection, status) + sizeof(std::int32_t);
};
template <>
struct FirstVersion<kvn_problem_info> {
    static constexpr const char* name = "kvn_problem_info";
    static constexpr std::size_t size = offsetof(kvn_problem_info, status) + sizeof(std::int32_t);
};
template <>
struct FirstVersion<kvn_judgement> {
    static constexpr const char* name = "kvn_judgement";
    static constexpr std::size_t size = offsetof(kvn_judgement, compressed_module) + sizeof(const char*);
};
template <>
struct FirstVersion<kvn_difference> {
    static constexpr const char* name = "kvn_difference";
    static constexpr std::size_t size = offsetof(kvn_difference, register_count) + sizeof(std::uint64_t);
};
template <>
struct FirstVersion<kvn_estimate_options> {
    static constexpr const char* name = "kvn_estimate_options";
    static constexpr std::size_t size = offsetof(kvn_estimate_options, bytes_per_second) + sizeof(double);
};
template <>
struct FirstVersion<kvn_estimate_info> {
    static constexpr const char* name = "kvn_estimate_info";
    static constexpr std::size_t size =
        offsetof(kvn_estimate_info, compressed_wire_bytes) + sizeof(std::int64_t);
};
template <>
struct FirstVersion<kvn_convert_options> {
    static constexpr const char* name = "kvn_convert_options";
    static constexpr std::size_t size = offsetof(kvn_convert_options, part) + sizeof(const char*);
};
template <>
struct FirstVersion<kvn_conversion> {
    static constexpr const char* name = "kvn_conversion";
    static constexpr std::size_t size = offsetof(kvn_conversion, problem_count) + sizeof(std::uint32_t);
};
template <>
struct FirstVersion<kvn_board_info> {
    static constexpr const char* name = "kvn_board_info";
    static constexpr std::size_t size = offsetof(kvn_board_info, slot_count) + sizeof(std::uint32_t);
};
template <>
struct FirstVersion<kvn_slot_info> {
    static constexpr const char* name = "kvn_slot_info";
    static constexpr std::size_t size = offsetof(kvn_slot_info, remedy) + sizeof(const char*);
};
template <>
struct FirstVersion<kvn_progress_info> {
    static constexpr const char* name = "kvn_progress_info";
    static constexpr std::size_t size = offsetof(kvn_progress_info, is_running) + sizeof(std::int32_t);
};
template <>
struct FirstVersion<kvn_load_options> {
    static constexpr const char* name = "kvn_load_options";
    static constexpr std::size_t size = offsetof(kvn_load_options, progress_step) + sizeof(std::uint64_t);
};
template <>
struct FirstVersion<kvn_record> {
    static constexpr const char* name = "kvn_record";
    static constexpr std::size_t size = offsetof(kvn_record, simulated) + sizeof(std::int32_t);
};
template <>
struct FirstVersion<kvn_explanation> {
    static constexpr const char* name = "kvn_explanation";
    static constexpr std::size_t size = offsetof(kvn_explanation, remedy) + sizeof(const char*);
};

/// @param first the least size
/// @param known the size of the structure in this library
/// @throws FailureError (ExitStatus::usage) for a size that no version has
void require_structure(const void* structure, std::size_t first, const char* name);

/// @throws FailureError (ExitStatus::usage) unless all bytes of a structure behind those known here are zero
void require_zero_behind(const void* structure, std::size_t known, const char* name);

/// A structure of the caller that receives a result.
template <class Structure>
class Receiver
{
public:
    /// @throws FailureError (ExitStatus::usage) for null and a wrong size
    explicit Receiver(Structure* target) : target_{target}
    {
        require_structure(target, FirstVersion<Structure>::size, FirstVersion<Structure>::name);
    }

    /// Writes as much as the caller's structure has room for. Its size stays.
    void take(Structure result) const noexcept
    {
        result.size = target_->size;
        std::memcpy(target_, &result, std::min(result.size, sizeof result));
    }

private:
    Structure* target_;
};

/// The caller's options; those behind the end of an older program's structure are zero.
/// @throws FailureError (ExitStatus::usage) for null, a wrong size, and options that are not known here
template <class Options>
Options options_of(const Options* given)
{
    require_structure(given, FirstVersion<Options>::size, FirstVersion<Options>::name);
    require_zero_behind(given, sizeof(Options), FirstVersion<Options>::name);
    Options options{};
    std::memcpy(&options, given, std::min(given->size, sizeof options));
    return options;
}

} // namespace kvn::c_interface

#endif
