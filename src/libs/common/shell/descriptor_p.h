#pragma once

#include <utility>

#include <unistd.h>

namespace common {

/** Owns a file descriptor. */
class Descriptor
{
public:
    Descriptor() = default;
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor() { Close(); }

    explicit operator bool() const { return number_ >= 0; }
    int Number() const { return number_; }
    void Close()
    {
        if (number_ >= 0)
            close(std::exchange(number_, -1));
    }

private:
    int number_ = -1;
};

} // namespace common
