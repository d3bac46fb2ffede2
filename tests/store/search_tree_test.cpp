#include "store/search_tree.h"

#include <map>
#include <random>

#include "helpers/store_test.h"
#include "store/record_lookup.h"
#include "support/keys.h"

using namespace VecTableTree;

using Keys = std::vector<std::int64_t>;

class SearchTree : public StoreTest {
  protected:
    // Links a record under a key of the test's own choice; AddNode's status.
    static std::int32_t Link(std::int64_t key, std::int32_t satNum, double epoch = 1.0) {
        auto node = std::make_unique<VecTabBinTree>();
        node->satKey = key;
        node->rec = std::make_unique<VecTabRecord>();
        node->rec->satNum = satNum;
        node->rec->epochDs50UTC = epoch;
        std::int32_t status = 0;
        linkedKey = AddNode(*node, status);
        if (status < 2) static_cast<void>(node.release());
        return status;
    }

    static Keys Listing(std::int32_t order) {
        Keys keys(static_cast<std::size_t>(VecTabGetCount()));
        VecTabGetLoaded(order, keys.data());
        return keys;
    }

    // The height of a subtree; fails where an invariant is broken.
    static int Check(const VecTabBinTree* node, std::int64_t above = INT64_MIN, std::int64_t below = INT64_MAX) {
        if (node == nullptr) return 0;
        EXPECT_TRUE(node->satKey > above && node->satKey < below);
        const int left = Check(node->left, above, node->satKey);
        const int right = Check(node->right, node->satKey, below);
        EXPECT_EQ(node->balance, right - left);
        EXPECT_LE(std::abs(right - left), 1);
        return std::max(left, right) + 1;
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
            std::int64_t free = key;
            for (int attempts = 1; attempts < 100 && model.count(free) == 1; ++attempts) {
                free = VecTableSupport::NextSatKey(free);
            }
            const bool added = Link(key, step) < 2;
            ASSERT_EQ(added, model.count(free) == 0);
            ASSERT_TRUE(!added || linkedKey == free);
            if (added) model[linkedKey] = step;
        } else {
            ASSERT_EQ(VecTabRemoveSat(key), model.erase(key) == 1 ? 0 : 2);
        }
        Check(VecTabTreeRoot());
    }
    Keys keys;
    for (const auto& [key, satNum] : model) {
        keys.push_back(key);
        ASSERT_EQ(FindNode(key)->rec->satNum, satNum);
    }
    EXPECT_EQ(Listing(3), keys);
}

TEST_F(SearchTree, ARemovedNodeTakesThePlaceOfItsPredecessor) {
    for (const std::int64_t key : {46, 26, 66, 16, 36, 56, 76}) Link(key, static_cast<std::int32_t>(key));
    const VecTabBinTree* root = VecTabTreeRoot();
    const std::int32_t predecessorSeqNum = FindNode(36)->seqNum;
    std::int32_t shrunk = 0, status = 2;
    RemoveNode(46, shrunk, status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(VecTabTreeRoot(), root);
    EXPECT_EQ(root->satKey, 36);
    EXPECT_EQ(root->rec->satNum, 36);
    EXPECT_EQ(root->seqNum, predecessorSeqNum);
    EXPECT_EQ(Listing(3), (Keys{16, 26, 36, 56, 66, 76}));
}

TEST_F(SearchTree, ATakenKeyIsSteppedUpToAHundredAttempts) {
    for (int i = 0; i < 99; ++i) Link(16, i);
    EXPECT_LT(Link(16, 99), 2);
    EXPECT_EQ(linkedKey, 16 + 99 * 10);
    EXPECT_EQ(Link(16, 100), 3);
    EXPECT_EQ(Link(16, 50), 3);  // found again at the 51st attempt
    std::int32_t status = 1;
    EmptyTree(status);  // does nothing after an earlier failure
    EXPECT_EQ(VecTabGetCount(), 100);
}
