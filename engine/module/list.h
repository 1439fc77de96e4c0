// SPDX-License-Identifier: Apache-2.0
// What is in the slots of boards, without a question and without a load.
#ifndef KVN_ENGINE_MODULE_LIST_H
#define KVN_ENGINE_MODULE_LIST_H

#include "errors/failure.h"
#include "module/module_name.h"
#include "module/provider.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kvn
{

enum class SlotKind {
    unknown, ///< the board's information could not be read, or does not cover the slot (another board's)
    empty,
    processor,   ///< a processor module
    without_bus, ///< a module without a serial bus
    module       ///< a module that answers, or should answer, on the serial bus
};
/// "unknown", "empty", "processor", "without bus", "module"
[[nodiscard]] const char* name_of(SlotKind kind);

enum class Compression { unknown, no, yes };
/// "unknown", "no", "yes"
[[nodiscard]] const char* name_of(Compression compression);

/// A device's name in its parts: "2v3000fg676-4" is 2v3000, fg676 and 4. Parts that the name lacks are empty.
struct DevicePart {
    std::string device = {};
    std::string package = {};
    std::string speed_grade = {}; ///< without the dash

    friend bool operator==(const DevicePart&, const DevicePart&) = default;
};
[[nodiscard]] DevicePart split_device_name(const std::string& name);

/// What a module says of itself.
struct ModuleIdentity {
    unsigned type = 0; ///< 2: KAVRIN-FPGA, 4: KAVRIN-IO; modules of other types tell nothing else
    std::optional<unsigned> model = {};
    std::optional<unsigned> version = {};
    /// In full, such as "2v3000fg676-4"; empty when the module names none.
    std::optional<std::string> device = {};
    Compression compression = Compression::unknown;

    /// "KAVRIN-FPGA", "KAVRIN-IO", or "type 7".
    [[nodiscard]] std::string type_name() const;
    friend bool operator==(const ModuleIdentity&, const ModuleIdentity&) = default;
};

inline constexpr std::size_t SLOT_INFO_WORDS = 5;

struct SlotRow {
    ModuleName name;
    SlotKind kind = SlotKind::unknown;
    /// The words of the board's information about this slot: present, processor, has a bus, and two that only
    /// the board's maker knows. Null when they are not known.
    std::optional<std::array<std::uint32_t, SLOT_INFO_WORDS>> info_words = {};
    std::optional<ModuleIdentity> module = {}; ///< null unless a module has said what it is
    std::optional<Failure> failure = {};       ///< why less is known than could be; null when all went well
};

struct BoardRow {
    BoardName name;
    /// The leading word of the board's information; null if unknown.
    std::optional<std::uint32_t> info_word = {};
    std::vector<SlotRow> slots = {}; ///< 1 to 4 in order; empty when the board could not be opened
    /// Why the board could not be opened or its information not be read. Whether it exists is told by the
    /// provider's text alone.
    std::optional<Failure> failure = {};
};

struct ListRequest {
    std::string board_type = {};        ///< such as "mwc4a"
    std::optional<unsigned> board = {}; ///< 0 to 15; null: all sixteen
};

/// Opens each board, asks each of its modules, and closes it. A module that fails to answer, or a board that
/// cannot be opened, is a row with its failure; the others follow.
/// @return a row for each board asked for, by number
/// @throws FailureError (ExitStatus::usage) for a request that names no board type or a board above 15;
///         std::bad_alloc, with every board closed
[[nodiscard]] std::vector<BoardRow> list(const Provider& provider, const ListRequest& request);

/// The same for one slot, which may be on a board that the opened one's bus reaches. A bus that cannot be
/// opened is the row's failure.
/// @throws FailureError (ExitStatus::usage) for a name out of range; std::bad_alloc, with the board closed
[[nodiscard]] SlotRow identify(const Provider& provider, const ModuleName& module);

} // namespace kvn

#endif
