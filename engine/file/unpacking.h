// SPDX-License-Identifier: Apache-2.0
// Unpacks gzip, xz and zstd data that come piece by piece.
#ifndef KVN_ENGINE_FILE_UNPACKING_H
#define KVN_ENGINE_FILE_UNPACKING_H

#include "file/input.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

namespace kvn
{

/// How many first bytes of a file recognise_packing looks at.
inline constexpr std::size_t PACKING_MAGIC_SIZE = 6;

/// How data are packed, by how they begin.
[[nodiscard]] Packing recognise_packing(std::span<const std::uint8_t> head);

/// The name without the extension that files packed so have; the name itself if it has none.
[[nodiscard]] std::string without_packing_extension(const std::string& name, Packing packing);

/// Packed data that cannot be unpacked.
class UnpackingError : public std::runtime_error
{
public:
    /// @param what "the gzip data are damaged"
    UnpackingError(const std::string& what, std::string why) : std::runtime_error{what}, why_{std::move(why)}
    {
    }
    /// What the packing's library says; may be empty.
    [[nodiscard]] const std::string& why() const { return why_; }

private:
    std::string why_;
};

/// Takes members (gzip), streams (xz) or frames (zstd), one after the other. Zero bytes between them, and
/// after the last one, are passed over.
class Unpacker
{
public:
    using Sink = std::function<void(std::span<const std::uint8_t>)>;

    /// @param packing not Packing::none
    /// @param sink gets what was unpacked; what it throws passes
    /// Throws std::bad_alloc.
    [[nodiscard]] static std::unique_ptr<Unpacker> make(Packing packing, Sink sink);
    virtual ~Unpacker() = default;
    Unpacker(const Unpacker&) = delete;
    Unpacker& operator=(const Unpacker&) = delete;

    /// Takes the next bytes. Throws UnpackingError and std::bad_alloc; then it takes no more.
    void take(std::span<const std::uint8_t> bytes);
    /// Ends the data. Throws UnpackingError when a member is cut.
    void finish() const;

protected:
    Unpacker(Packing packing, Sink sink) : packing_{packing}, sink_{std::move(sink)} {}

    /// What a step of unpacking did.
    struct Step {
        std::size_t taken;
        std::size_t made;
        bool ends_member;
    };
    /// Whether a member may begin with this byte.
    [[nodiscard]] virtual bool may_begin(std::uint8_t byte) const = 0;
    virtual void begin_member() = 0;
    /// Takes and makes as much as there is, or as there is room for.
    virtual Step unpack(std::span<const std::uint8_t> in, std::span<std::uint8_t> out) = 0;
    [[noreturn]] void fail_damaged(const char* why) const;

private:
    bool begins_member(std::span<const std::uint8_t>& bytes);

    Packing packing_;
    Sink sink_;
    bool in_member_ = false;
};

} // namespace kvn

#endif
