#include "store/record_lookup.h"

#include <functional>
#include <random>
#include <set>

#include "helpers/store_test.h"
#include "store/direct_memory.h"
#include "store/read_gate.h"
#include "support/keys.h"

using namespace VecTableTree;
using VecTableSupport::IsDma;

class RecordLookup : public StoreTest {};

TEST_F(RecordLookup, FailedLookupsHaveTheirWords) {
    const auto ask = [&](int64_t key) {
        VecTabRecord* found = nullptr;
        VecTableTypes::FixedText<128> words;
        FindRecPtr(key, found, &words);
        if (!IsDma(key)) EndRead();
        EXPECT_EQ(found, nullptr);
        return std::string(words.Trimmed());
    };
    for (const auto& [wrong, told] : {std::pair{16, "FindRecPtr: Search tree is empty."},
                                      {0, "FindRecPtr: Invalid DMA key (<=0)."},
                                      {-20, "FindRecPtr: Invalid DMA key (<=0)."},
                                      {20, "FindRecPtr: Invalid DMA key."}}) {
        EXPECT_EQ(ask(wrong), told);
    }
    VecHostSetElsetKeyMode(1);
    const int64_t key = Add(1, 1.0);
    int outside = 0;
    DmaObject* object = FindDmaObject(key);
    object->dmaLinkA = &outside;
    EXPECT_EQ(RemoveDMA(key), 0);
    EXPECT_EQ(ask(key), "FindRecPtr: Prop data doesn't exist.");
    std::swap(object->dmaLinkA, object->dmaLinkB);
    EXPECT_EQ(RemoveDMA(key), 0);
    EXPECT_EQ(FindDmaObject(key), object);
    object->dmaLinkB = nullptr;
    object->elsetType = 5;
    EXPECT_EQ(VecTabRemoveSat(key), 2);
    EXPECT_EQ(log.Take(), Strings{"RemoveDMA: This DMA object isn't a correct object."});
    object->elsetType = 6;
    EXPECT_EQ(VecTabRemoveSat(key), 0);
    EXPECT_EQ(object->elsetType, 0);
    EXPECT_EQ(ask(key), "FindRecPtr: Invalid DMA key.");
}

TEST_F(RecordLookup, AnyNumberIsSafeAsAKey) {
    VecHostSetElsetKeyMode(1);
    const int64_t key = Add(1, 100.0);
    std::mt19937_64 random(5);
    State state;
    for (int i = 0; i < 20000; ++i) {
        const auto any = static_cast<int64_t>(random());
        const int64_t wrong = i % 2 == 0 ? any : key + any % 50000;
        if (wrong == key) continue;
        ASSERT_EQ(AskByMinutes(wrong, 0.0, state) + VecTabRemoveSat(wrong) + Append(wrong, 1.0), 6) << wrong;
        log.entries.clear();
    }
    EXPECT_EQ(VecTabGetCount(), 1);
}

TEST_F(RecordLookup, FreedObjectsAreTakenAgainInTheOrderOfTheirRelease) {
    VecHostSetElsetKeyMode(1);
    std::vector<int64_t> keys, reused;
    for (int i = 0; i < 300; ++i) keys.push_back(Add(i, 1.0));
    std::set<int64_t> inUse(keys.begin(), keys.end());
    const auto remove = [&](int64_t key) { inUse.erase(VecTabRemoveSat(key) == 0 ? key : 0); };
    remove(keys[7]);
    remove(keys[3]);
    for (int i = 0; i < 70000; ++i) {
        const int64_t key = Add(1000 + i, 1.0);
        ASSERT_TRUE(inUse.insert(key).second);  // no object is handed out twice, after the last freed one too
        if (key == keys[7] || key == keys[3]) reused.push_back(key);
        if (reused.size() == 2 && key == keys[3]) remove(keys[7]);
    }
    EXPECT_EQ(reused, (std::vector<int64_t>{keys[7], keys[3], keys[7]}));
    VecTabRemoveAllSats();
    for (const int64_t key : {keys[0], keys[7], *inUse.rbegin()}) EXPECT_EQ(FindDmaObject(key), nullptr);
}

TEST_F(RecordLookup, ACopyOfARecordIsItsOwn) {
    for (const int mode : {0, 1}) {
        VecHostSetElsetKeyMode(mode);
        VecTabRecord record, copy;
        record.points.Grow(2000);
        record.numOfPts = 1001;
        for (int i = 0; i < 1001; ++i) record.points.Append(i) = {};
        record.points.ChangeCovariance(1001)[0] = 77.0;
        VecTabBinTree* node = nullptr;
        const int64_t key = AddRecToMem(record, &node);
        record.points.ChangeCovariance(1001)[0] = 1.0;
        FreeVecTabRecord(record);
        FreeVecTabRecord(record);
        EXPECT_FALSE(record.points.IsAllocated());
        EXPECT_EQ(GetRec(*node)->points[1001].cov[0], 77.0);

        VecTableSupport::FixedText<128> words;
        FindRec(key, copy, &words);
        EXPECT_EQ(copy.points.Capacity(), 2000U);
        EXPECT_EQ(copy.points[1001].cov[0], 77.0);
        EXPECT_TRUE(words.IsBlank());
        VecTabRemoveAllSats();
        FindRec(16, copy, &words);
        EXPECT_EQ(words.Trimmed(), "FindRec: Search tree is empty.");
        Add(1, 1.0);
        auto* withoutRecord = new VecTabBinTree;
        withoutRecord->satKey = 26;
        std::int32_t status = 0;
        AddNode(*withoutRecord, status);
        for (const auto& [wrong, told] : {std::pair{16, "FindRec: search key doens't exist."},
                                          {26, "FindRec: search key doens't exist."},
                                          {-10, "FindRec: Invalid DMA key (<=0)."},
                                          {0, "FindRec: Invalid DMA key (<=0)."},
                                          {20, ""}}) {
            copy.satNum = 5;
            FindRec(wrong, copy, &words);
            EXPECT_EQ(copy.satNum, -123);
            EXPECT_FALSE(copy.points.IsAllocated());
            EXPECT_EQ(words.Trimmed(), told);
        }
        VecTabRemoveAllSats();
    }
}

// As the plain walk finds it: satellites whose numbers share keys, keys stepped past the last of a satellite, keys that
// tell no satellite.
TEST_F(RecordLookup, TheKeyOfASatelliteIsThatOfItsFirstNode) {
    const std::function<std::int64_t(const VecTabBinTree*, std::int32_t)> walk = [&](const VecTabBinTree* node,
                                                                                     std::int32_t satNum) {
        if (node == nullptr) return VecTableSupport::kNoKey;
        if (GetRec(*node)->satNum == satNum) return node->satKey;
        const std::int64_t key = walk(node->left, satNum);
        return key != VecTableSupport::kNoKey ? key : walk(node->right, satNum);
    };
    constexpr std::array satNums = {0, 1, 2, 3, -1, -2, 922337202, 922337203, -922337203, INT32_MAX, INT32_MIN};
    constexpr double kLastKey = 999999936 / 86400000.0;  // the epoch whose key is the last of a satellite
    std::mt19937 random(3);
    std::vector<int64_t> keys;
    for (int step = 0; step < 6000; ++step) {
        VecHostSetElsetKeyMode(step > 4000 && random() % 8 == 0);
        if (keys.size() < 40 && random() % 5 < 3) {
            const double part = static_cast<double>(random() % 9);
            const double epoch = random() % 4 == 0 ? kLastKey + part * 1e-10 : part;
            if (const int64_t key = Add(satNums[random() % satNums.size()], epoch); key != 0) keys.push_back(key);
        } else if (!keys.empty()) {
            std::swap(keys[random() % keys.size()], keys.back());
            ASSERT_EQ(VecTabRemoveSat(keys.back()), 0);
            keys.pop_back();
        }
        for (const std::int32_t satNum : satNums) ASSERT_EQ(SatKeyGet(satNum), walk(VecTabTreeRoot(), satNum)) << step;
    }
}
