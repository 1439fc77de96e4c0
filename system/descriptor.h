// SPDX-License-Identifier: Apache-2.0
// A file descriptor that is closed at the end of its scope.
#ifndef KVN_SYSTEM_DESCRIPTOR_H
#define KVN_SYSTEM_DESCRIPTOR_H

#include <utility>

namespace kvn::system
{

/// Closes a descriptor of the C run-time. Errors are ignored: whoever writes asks before.
void close_descriptor(int number) noexcept;

/// Owns a descriptor of the C run-time. One object is for one thread at a time.
class Descriptor
{
public:
    explicit Descriptor(int number = -1) noexcept : number_{number} {}
    ~Descriptor() { close(); }
    Descriptor(Descriptor&& other) noexcept : number_{std::exchange(other.number_, -1)} {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        if (this != &other) {
            close();
            number_ = std::exchange(other.number_, -1);
        }
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    [[nodiscard]] bool is_open() const noexcept { return number_ >= 0; }
    /// -1 if it is not open. The object keeps it.
    [[nodiscard]] int number() const noexcept { return number_; }
    void close() noexcept
    {
        if (is_open())
            close_descriptor(std::exchange(number_, -1));
    }

private:
    int number_;
};

} // namespace kvn::system

#endif
