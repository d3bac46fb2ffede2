#include "catalogue/versions.h"

#include <utility>

#include "store/table_memory.h"

namespace VecTableCatalogue {
namespace {

// The versions that were replaced, as the protocol looks at them.
template <typename Replaced>
struct VersionsOf {
    const Replaced& replaced;
    std::size_t size() const noexcept { return replaced.size(); }
    Version* operator[](std::size_t i) const noexcept { return replaced[i].version; }
};

}  // namespace

// Threads begin at places of their own, so that they do not contend for one slot.
std::size_t VersionThreads::FirstSlot() noexcept {
    static constinit std::atomic<std::size_t> threads{0};
    static thread_local const std::size_t first = threads.fetch_add(1, std::memory_order_relaxed);  // only a number
    return first;
}

Versions::Old::Old(Old&& other) noexcept
    : version(std::exchange(other.version, nullptr)),
      blocks(std::exchange(other.blocks, {})),
      tables(std::exchange(other.tables, {})) {}

Versions::Old::~Old() {
    for (void* table : tables) VecTableTypes::ReleaseTableMemory(table);
    for (const RowBlock* block : blocks) delete block;
    delete version;
}

Versions::Versions() : protocol_(new Version) {}

Versions::~Versions() {
    replaced_.clear();
    const std::unique_ptr<Version> last(protocol_.Current());
    for (const RowBlock* block : last->blocks) {
        for (const Row& row : block->rows) VecTableTypes::ReleaseTableMemory(row.memory);
        delete block;
    }
}

Versions::Reading::Reading(const Versions& versions) noexcept
    : versions_(versions), hold_(versions.protocol_.Enter()) {}

Versions::Reading::~Reading() {
    versions_.protocol_.Leave(hold_);
    if (hold_.version != versions_.protocol_.Current()) versions_.GiveBackUnlessBusy();
}

// A writer that is at work gives back itself.
void Versions::GiveBackUnlessBusy() const noexcept {
    const std::unique_lock lock(mutex_, std::try_to_lock);
    if (lock.owns_lock()) GiveBack();
}

void Versions::GiveBack() const noexcept {
    const std::size_t unheld = protocol_.CountUnheld(VersionsOf<std::deque<Old>>{replaced_});
    for (std::size_t i = 0; i < unheld; ++i) replaced_.pop_front();
}

Versions::Change::Change(Versions& versions)
    : versions_(versions),
      lock_(versions.mutex_),
      next_(std::make_unique<Version>(Base())),
      isOwn_(next_->blocks.size()) {}

Versions::Change::~Change() {
    if (published_) return;
    for (std::size_t i = 0; i < isOwn_.size(); ++i) {
        if (isOwn_[i]) delete next_->blocks[i];
    }
    old_.blocks.clear();
    old_.tables.clear();
}

// The memory for what follows is taken before anything is changed.
Row& Versions::Change::OwnRow(std::int64_t number) {
    const auto index = static_cast<std::size_t>(number);
    RowBlock*& block = next_->blocks[index / RowBlock::kRows];
    if (!isOwn_[index / RowBlock::kRows]) {
        auto copy = std::make_unique<RowBlock>(*block);
        old_.blocks.push_back(block);
        block = copy.release();
        isOwn_[index / RowBlock::kRows] = true;
    }
    return block->rows[index % RowBlock::kRows];
}

std::int64_t Versions::Change::Append(const Row& row) {
    const std::int64_t number = next_->numRows;
    if (static_cast<std::size_t>(number) == next_->blocks.size() * RowBlock::kRows) {
        isOwn_.push_back(false);
        auto block = std::make_unique<RowBlock>();
        next_->blocks.push_back(block.get());
        static_cast<void>(block.release());
        isOwn_.back() = true;
    }
    OwnRow(number) = row;
    ++next_->numRows;
    return number;
}

void Versions::Change::Replace(std::int64_t number, const Row& row) {
    Row& own = OwnRow(number);
    if (own.memory != nullptr) old_.tables.push_back(own.memory);
    own = row;
}

void Versions::Change::Publish() {
    Old& old = versions_.replaced_.emplace_back(std::move(old_));
    old.version = versions_.protocol_.Current();
    versions_.protocol_.Publish(next_.release());
    published_ = true;
    versions_.GiveBack();
}

}  // namespace VecTableCatalogue
