// Memory as a load finds it for its points: new pages, which cost the system's time at their first touch. A heap that
// hands the same pages out again would hide from a floor what every stored table has to pay.
#pragma once

#include <cstddef>
#include <sys/mman.h>

class FreshMemory {
  public:
    explicit FreshMemory(std::size_t size)
        : size_(size), start_(::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {}
    FreshMemory(const FreshMemory&) = delete;
    FreshMemory& operator=(const FreshMemory&) = delete;
    ~FreshMemory() { ::munmap(start_, size_); }

    template <typename Value>
    Value* As() const {
        return static_cast<Value*>(start_);
    }

  private:
    std::size_t size_;
    void* start_;
};
