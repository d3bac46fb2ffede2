#include "store/search_tree.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <random>

#include "helpers/store_test.h"
#include "store/record_lookup.h"
#include "support/keys.h"

using namespace VecTableTree;

namespace {

// The height of a subtree; fails where an invariant is broken.
int CheckSubtree(const VecTabBinTree* node, std::int64_t above, std::int64_t below) {
    if (node == nullptr) return 0;
    EXPECT_GT(node->satKey, above);
    EXPECT_LT(node->satKey, below);
    const int left = CheckSubtree(node->left, above, node->satKey);
    const int right = CheckSubtree(node->right, node->satKey, below);
    EXPECT_EQ(node->balance, right - left);
    EXPECT_LE(std::abs(right - left), 1);
    return std::max(left, right) + 1;
}

void CheckTree() {
    CheckSubtree(VecTabTreeRoot(), INT64_MIN, INT64_MAX);
}

}  // namespace

class SearchTree : public StoreTest {
  protected:
    // Links a record under a key of the test's own choice; AddNode's status.
    static std::int32_t Link(std::int64_t key, std::int32_t satNum, double epoch = 1.0) {
        auto* node = new VecTabBinTree;
        node->satKey = key;
        node->rec = std::make_unique<VecTabRecord>();
        node->rec->satNum = satNum;
        node->rec->epochDs50UTC = epoch;
        std::int32_t status = 0;
        linkedKey = AddNode(*node, status);
        if (status > 1) delete node;
        return status;
    }

    static std::int32_t Remove(std::int64_t key) { return VecTabRemoveSat(key); }

    static std::vector<std::int64_t> Keys(std::int32_t order) {
        std::vector<std::int64_t> keys(static_cast<std::size_t>(VecTabGetCount()));
        VecTabGetLoaded(order, keys.data());
        return keys;
    }

    static inline std::int64_t linkedKey = 0;
};

TEST_F(SearchTree, ARandomWalkAgreesWithAnOrderedMap) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::map<std::int64_t, std::int32_t> model;
    for (int step = 0; step < 6000 && !HasFailure(); ++step) {
        const std::int64_t key = (static_cast<std::int64_t>(random() % 400) - 200) * 10 + 6;
        const bool growing = step / 1000 % 2 == 0;
        if (random() % 3 < (growing ? 2U : 1U)) {
            const bool added = Link(key, step) < 2;
            std::int64_t free = key;
            for (int attempts = 1; attempts < 100 && model.count(free) == 1; ++attempts) {
                free = VecTableSupport::NextSatKey(free);
            }
            ASSERT_EQ(added, model.count(free) == 0);
            ASSERT_TRUE(!added || linkedKey == free);
            if (added) model[linkedKey] = step;
        } else {
            ASSERT_EQ(Remove(key), model.erase(key) == 1 ? 0 : 2);
        }
        CheckTree();
    }
    ASSERT_EQ(Keys(3).size(), model.size());
    std::size_t i = 0;
    for (const auto& [key, satNum] : model) {
        ASSERT_EQ(Keys(3)[i++], key);
        ASSERT_EQ(FindNode(key)->rec->satNum, satNum);
    }
}

TEST_F(SearchTree, InsertionRotatesAsTold) {
    const std::vector<std::vector<std::int64_t>> orders = {{16, 26, 36}, {36, 26, 16}, {16, 36, 26}, {36, 16, 26}};
    for (const auto& order : orders) {
        for (const std::int64_t key : order) Link(key, 1);
        EXPECT_EQ(VecTabTreeRoot()->satKey, 26);
        CheckTree();
        VecTabRemoveAllSats();
    }
}

TEST_F(SearchTree, RemovingANodeWithTwoChildrenTakesThePredecessor) {
    for (const std::int64_t key : {46, 26, 66, 16, 36, 56, 76}) Link(key, static_cast<std::int32_t>(key));
    const VecTabBinTree* root = VecTabTreeRoot();
    const std::int32_t predecessorSeqNum = FindNode(36)->seqNum;
    ASSERT_EQ(Remove(46), 0);
    EXPECT_EQ(VecTabTreeRoot(), root);
    EXPECT_EQ(root->satKey, 36);
    EXPECT_EQ(root->rec->satNum, 36);
    EXPECT_EQ(root->seqNum, predecessorSeqNum);
    CheckTree();
    EXPECT_EQ(Keys(3), (std::vector<std::int64_t>{16, 26, 36, 56, 66, 76}));
}

TEST_F(SearchTree, ATakenKeyIsSteppedUpToAHundredAttempts) {
    for (int i = 0; i < 99; ++i) Link(16, i);
    EXPECT_EQ(VecTabGetCount(), 99);
    EXPECT_LT(Link(16, 99), 2);
    EXPECT_EQ(linkedKey, 16 + 99 * 10);
    EXPECT_EQ(Link(16, 100), 3);
    EXPECT_EQ(VecTabGetCount(), 100);
    EXPECT_EQ(Link(16, 50), 3);  // found again at the 51st attempt
}

TEST_F(SearchTree, ListingsComeInFourOrders) {
    Link(56, 7, 3.0);
    Link(-26, 300, 1.0);
    Link(16, 7, 1.0);
    Link(66, 7, 1.0 + 1e-12);  // the same printed identity as the one before
    Link(36, 300, 0.5);
    EXPECT_EQ(Keys(3), (std::vector<std::int64_t>{-26, 16, 36, 56, 66}));
    EXPECT_EQ(Keys(-1), Keys(3));
    EXPECT_EQ(Keys(2), (std::vector<std::int64_t>{56, -26, 16, 66, 36}));
    EXPECT_EQ(Keys(0), (std::vector<std::int64_t>{66, 16, 56, 36, -26}));
    std::vector<std::int64_t> reversed = Keys(0);
    std::reverse(reversed.begin(), reversed.end());
    EXPECT_EQ(Keys(1), reversed);
}

TEST_F(SearchTree, SequenceNumbersGoOnBehindAnEmptiedTree) {
    Link(16, 1);
    const std::int32_t first = FindNode(16)->seqNum;
    EXPECT_EQ(Link(16, 1), 3);  // takes no number
    EXPECT_EQ(VecTabRemoveAllSats(), 0);
    EXPECT_TRUE(TreeIsEmpty());
    Link(16, 1);
    EXPECT_EQ(FindNode(16)->seqNum, first + 1);
}

TEST_F(SearchTree, UnknownKeysAreReported) {
    EXPECT_EQ(VecTabRemoveAllSats(), 0);
    EXPECT_EQ(Remove(16), 2);
    EXPECT_EQ(log.entries.at(0).text, "RemoveNode: Unable to locate this key                  16 in its binary tree." +
                                          std::string(128 - 77, ' '));
    log.entries.clear();
    EXPECT_EQ(Remove(0), 2);
    EXPECT_EQ(Remove(-10), 2);
    EXPECT_EQ(Remove(10), 2);
    EXPECT_EQ(log.Take(), (Strings{"RemoveNode: Invalid DMA key (<=0).", "RemoveNode: Invalid DMA key (<=0).",
                                   "RemoveDMA: /DMA doesn't exist or was already deallocated"}));
    int64_t untouched = 42;
    VecTabGetLoaded(0, &untouched);
    EXPECT_EQ(untouched, 42);
    EXPECT_EQ(log.Take(VEC_HOST_TRACE_INFO),
              Strings{"Warning-VecTabGetLoaded: The binary tree is empty. No satKey returns."});
}

TEST_F(SearchTree, ThePrintedIdentityFillsItsColumns) {
    VecTabRecord record;
    record.satNum = 25544;
    record.epochDs50UTC = 27819.5;
    EXPECT_EQ(FieldsToStr(record).View(), "000025544 1 27819.500000000     ");
    record.satNum = 1234567890;
    record.coordSys = 100;
    record.epochDs50UTC = 1e7;
    EXPECT_EQ(FieldsToStr(record).View(), std::string(27, '*') + "     ");
}
