// The versions of a catalogue: rows by their numbers, in a tree of two levels, so that a change copies little.
//
// Threads: any number may hold versions; changes come one after the other, each with the lock of the catalogue.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include "catalogue/row.h"
#include "catalogue/version_protocol.h"

namespace VecTableCatalogue {

struct RowBlock {
    static constexpr std::size_t kRows = 64;
    std::array<Row, kRows> rows;
};

// What a call sees from its first request to its last.
struct Version {
    std::int64_t numRows = 0;  // numbers given so far: rows are 0 to this less 1
    std::vector<RowBlock*> blocks;

    // A default row where there is none.
    const Row& operator[](std::int64_t number) const noexcept {
        static constexpr Row kNone{};
        if (number < 0 || number >= numRows) return kNone;
        const auto index = static_cast<std::size_t>(number);
        return blocks[index / RowBlock::kRows]->rows[index % RowBlock::kRows];
    }
};

struct VersionThreads {
    template <typename Value>
    using Atomic = std::atomic<Value>;
    static constexpr std::size_t kSlots = 128;
    static std::size_t FirstSlot() noexcept;
};

class Versions {
    using Protocol = VersionProtocol<VersionThreads, Version>;

    // A version that was replaced, with all that the next one does not share with it.
    struct Old {
        Version* version = nullptr;
        std::vector<RowBlock*> blocks;
        std::vector<void*> tables;

        Old() noexcept = default;
        Old(Old&& other) noexcept;
        Old& operator=(Old&&) = delete;
        ~Old();
    };

  public:
    Versions();
    Versions(const Versions&) = delete;
    Versions& operator=(const Versions&) = delete;
    // No reader may be left.
    ~Versions();

    // A version for the length of a scope.
    class Reading {
      public:
        explicit Reading(const Versions& versions) noexcept;
        Reading(const Reading&) = delete;
        Reading& operator=(const Reading&) = delete;
        ~Reading();
        const Version& operator*() const noexcept { return *hold_.version; }
        const Version* operator->() const noexcept { return hold_.version; }

      private:
        const Versions& versions_;
        Protocol::Hold hold_;
    };

    // The next version while it is made. Nothing of it is seen before it is published; unless it is, nothing of it
    // stays, and rows that were handed to it are the caller's again.
    class Change {
      public:
        explicit Change(Versions& versions);
        Change(const Change&) = delete;
        Change& operator=(const Change&) = delete;
        ~Change();

        const Version& Base() const noexcept { return *versions_.protocol_.Current(); }

        // Numbers given so far, with those of this change.
        std::int64_t NumRows() const noexcept { return next_->numRows; }

        // The number of the row.
        std::int64_t Append(const Row& row);

        // Puts a row, or none, in the place of one that is there.
        void Replace(std::int64_t number, const Row& row);

        void Publish();

      private:
        Row& OwnRow(std::int64_t number);

        Versions& versions_;
        std::unique_lock<std::mutex> lock_;
        std::unique_ptr<Version> next_;
        std::vector<bool> isOwn_;  // blocks that this change has made
        Old old_;
        bool published_ = false;
    };

    // For a process that forks: between the first two nothing changes, and the child forgets the readers of its parent.
    void HoldChanges() noexcept { mutex_.lock(); }
    void ReleaseChanges() noexcept { mutex_.unlock(); }
    void ForgetReaders() noexcept { protocol_.ForgetReaders(); }

  private:
    void GiveBackUnlessBusy() const noexcept;
    void GiveBack() const noexcept;

    mutable Protocol protocol_;
    mutable std::mutex mutex_;
    mutable std::deque<Old> replaced_;  // in that order
};

}  // namespace VecTableCatalogue
