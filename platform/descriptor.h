// SPDX-License-Identifier: Apache-2.0
// A file descriptor that is closed at the end of its scope.
#ifndef PLATFORM_DESCRIPTOR_H
#define PLATFORM_DESCRIPTOR_H

#include <unistd.h>

#include <utility>

namespace mwapi
{

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
    [[nodiscard]] int number() const noexcept { return number_; }
    void close() noexcept
    {
        if (is_open())
            (void)::close(std::exchange(number_, -1));
    }

private:
    int number_;
};

} // namespace mwapi

#endif
