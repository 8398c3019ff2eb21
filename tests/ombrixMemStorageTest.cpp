// Memory storage and sequences: block chaining, the deliberate quirks of the
// public allocation and element addressing, and sequences that span blocks.
#include "ombrix.h"
#include "ombrixMemBlocks.h"
#include "ombrixTestSupport.h"

namespace {

using ombrix_test::AssertionText;
using ombrix_test::LogCapture;

constexpr uint32_t kHeader = 2 * sizeof(void*);
constexpr uint32_t kData = OBX_MEM_BLOCK_SIZE - kHeader;

bool logged(const LogCapture& log, const std::string& text) {
    for (const auto& e : log.get())
        if (e.text == text) return true;
    return false;
}

uint8_t* nextBlock(uint8_t* block) { return reinterpret_cast<uint8_t**>(block)[1]; }
uint8_t* previousBlock(uint8_t* block) { return reinterpret_cast<uint8_t**>(block)[0]; }

TEST(MemStorage, RecordSizesOfThe32BitTarget) {
    if (sizeof(void*) != 4) GTEST_SKIP() << "64-bit host: pointer fields are wider";
    EXPECT_EQ(sizeof(obxMemStorage), 16u);
    EXPECT_EQ(sizeof(obxSeq), 28u);
    EXPECT_EQ(sizeof(obxSeqReader), 16u);
    EXPECT_EQ(kHeader, 8u);
}

TEST(MemStorage, PublicAllocationStartsABlockOnlyWhenTopIsShort) {
    LogCapture log;
    obxMemStorage st;
    obxInitMemStorage(&st);
    EXPECT_EQ(st.block_size, OBX_MEM_BLOCK_SIZE);
    EXPECT_EQ(st.free_space, 0u);
    EXPECT_EQ(obxAllocateMemBlock(&st, 0), nullptr);  // 0 >= 0: nothing allocated
    uint8_t* first = static_cast<uint8_t*>(obxAllocateMemBlock(&st, 10));
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first, st.bottom + kHeader);
    EXPECT_EQ(st.free_space, (kData - 10) & ~3u);
    EXPECT_EQ(obxAllocateMemBlock(&st, 100), nullptr);  // room left: deliberately refused
    uint8_t* second = static_cast<uint8_t*>(obxAllocateMemBlock(&st, kData));
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(st.top + kHeader, second);
    EXPECT_EQ(nextBlock(st.bottom), st.top);
    EXPECT_EQ(previousBlock(st.top), st.bottom);
    EXPECT_EQ(st.free_space, 0u);
    EXPECT_FALSE(logged(log, "Too large memory block is requested\n"));
    EXPECT_NE(obxAllocateMemBlock(&st, kData + 1), nullptr);
    EXPECT_TRUE(logged(log, "Too large memory block is requested\n"));
    EXPECT_EQ(obxDeInitMemStorage(&st), 0);
    EXPECT_EQ(st.bottom, nullptr);
    EXPECT_EQ(st.top, nullptr);
    EXPECT_EQ(st.block_size, OBX_MEM_BLOCK_SIZE);
    EXPECT_EQ(obxAllocateMemBlock(nullptr, 4), nullptr);
    EXPECT_TRUE(logged(log, "NULL storage pointer\n"));
}

// Elements of 12 bytes; values that record their own index.
struct Element {
    int32_t a, b, c;
};

std::vector<Element> makeElements(uint32_t count) {
    std::vector<Element> v(count);
    for (uint32_t i = 0; i < count; ++i) v[i] = {int32_t(i), int32_t(~i), int32_t(i * 7)};
    return v;
}

bool sameElement(const uint8_t* p, const Element& e) { return memcmp(p, &e, sizeof e) == 0; }

TEST(MemStorage, SequencesSpanBlocksAndReadBackInOrder) {
    for (bool multi : {false, true}) {
        obxMemStorage st;
        obxInitMemStorage(&st);
        obxSeq seq;
        const uint32_t perBlock = obxInitSeq(&seq, sizeof(Element), &st);
        ASSERT_EQ(perBlock, kData / sizeof(Element));
        const uint32_t count = 2 * perBlock + 5;
        const auto elements = makeElements(count);
        if (multi) {
            obxSeqPushMulti(&seq, elements.data(), count);
        } else {
            for (const auto& e : elements) obxSeqPush(&seq, &e);
        }
        EXPECT_EQ(seq.total, int32_t(count));
        ASSERT_NE(st.bottom, nullptr);
        EXPECT_EQ(nextBlock(nextBlock(nextBlock(st.bottom))), nullptr);
        EXPECT_EQ(seq.ptr, st.top + kHeader + 5 * sizeof(Element));

        std::vector<Element> popped(count);
        obxSeqPopMulti(&seq, popped.data(), count);
        EXPECT_EQ(memcmp(popped.data(), elements.data(), count * sizeof(Element)), 0);
        EXPECT_EQ(seq.total, int32_t(count));

        obxSeqReader reader;
        obxStartReadSeq(&seq, &reader);
        for (uint32_t i = 0; i < count; ++i) {
            ASSERT_TRUE(sameElement(reader.ptr, elements[i])) << i;
            obxNextSeqElem(&reader, sizeof(Element));
        }
        // The reader walks unused slots too and stops at the last one.
        for (uint32_t i = 0; i < perBlock; ++i) obxNextSeqElem(&reader, sizeof(Element));
        EXPECT_EQ(reader.block, st.top);
        EXPECT_EQ(reader.ptr, st.top + kHeader + (perBlock - 1) * sizeof(Element));

        obxClearSeq(&seq);
        EXPECT_EQ(seq.total, 0);
        EXPECT_EQ(st.bottom, nullptr);
    }
}

TEST(MemStorage, ElementAddressUsesTheWholeIndex) {
    LogCapture log;
    obxMemStorage st;
    obxInitMemStorage(&st);
    obxSeq seq;
    const uint32_t perBlock = obxInitSeq(&seq, sizeof(Element), &st);
    const auto elements = makeElements(perBlock + 3);
    obxSeqPushMulti(&seq, elements.data(), uint32_t(elements.size()));
    EXPECT_TRUE(sameElement(obxGetSeqElem(&seq, 4), elements[4]));
    const int32_t k = int32_t(perBlock) + 1;
    EXPECT_EQ(obxGetSeqElem(&seq, k), st.top + kHeader + sizeof(Element) * k);
    EXPECT_NE(obxGetSeqElem(&seq, seq.total), nullptr);
    EXPECT_EQ(obxGetSeqElem(&seq, seq.total + 1), nullptr);
    EXPECT_TRUE(logged(log, "bad index\n"));

    obxSeqPushMulti(&seq, elements.data(), 1);
    EXPECT_TRUE(logged(log, "seq is not clear or initialized\n"));
    std::vector<Element> out(1, Element{9, 9, 9});
    obxSeqPopMulti(&seq, out.data(), 0);
    EXPECT_EQ(out[0].a, 9);
    obxSeqPopMulti(&seq, out.data(), uint32_t(seq.total) + 1);
    EXPECT_TRUE(logged(log, "require too pop too much elements\n"));
    obxClearSeq(&seq);
}

// The code book's allocator carves pieces one after another and rounds what
// remains, not what was asked for.
TEST(MemStorage, InternalAllocationCarvesConsecutivePieces) {
    obxMemStorage* st = allocateMemStorage();
    ASSERT_NE(st, nullptr);
    EXPECT_EQ(st->block_size, OBX_MEM_BLOCK_SIZE);
    EXPECT_EQ(st->free_space, 0u);
    EXPECT_EQ(st->bottom, nullptr);
    uint8_t* a = static_cast<uint8_t*>(allocateMemBlock(st, 10));
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(a, st->bottom + kHeader);
    EXPECT_EQ(st->free_space, (kData - 10) & ~3u);
    uint8_t* b = static_cast<uint8_t*>(allocateMemBlock(st, 4));
    EXPECT_EQ(b, a + 12);
    EXPECT_EQ(st->free_space, kData - 16);
    EXPECT_EQ(allocateMemBlock(st, 0), a + 16);  // nothing taken
    uint8_t* c = static_cast<uint8_t*>(allocateMemBlock(st, kData - 16));
    EXPECT_EQ(c, a + 16);  // exactly what is left still fits
    EXPECT_EQ(st->free_space, 0u);
    uint8_t* d = static_cast<uint8_t*>(allocateMemBlock(st, 1));
    EXPECT_EQ(d, st->top + kHeader);
    EXPECT_NE(st->top, st->bottom);
    EXPECT_EQ(previousBlock(st->top), st->bottom);
    EXPECT_EQ(st->free_space, (kData - 1) & ~3u);
    freeMemStorage(&st);
    EXPECT_EQ(st, nullptr);
    freeMemStorage(&st);  // a null storage only logs
}

void misalignedFreeSpace() {
    obxMemStorage st;
    obxInitMemStorage(&st);
    st.block_size = OBX_MEM_BLOCK_SIZE - 1;
    allocateMemBlock(&st, 4);
}

void misalignedPiece() {
    obxMemStorage st;
    obxInitMemStorage(&st);
    allocateMemBlock(&st, 4);
    st.block_size += 2;  // the next piece would start 2 bytes off
    allocateMemBlock(&st, 4);
}

const ombrix_test::AssertionCase kInternalAssertions[] = {
    {"free space not a multiple of 4", misalignedFreeSpace, "src/cpu/ombrixBGCodeBookC",
     "st->free_space % ((int32_t)sizeof(float32_t)) == 0"},
    {"piece not aligned to 4", misalignedPiece, "src/cpu/ombrixBGCodeBookC",
     "(uint32_t)ptr % ((int32_t)sizeof(float32_t)) == 0"},
};
INSTANTIATE_TEST_SUITE_P(MemStorage, AssertionText, ::testing::ValuesIn(kInternalAssertions),
                         ombrix_test::assertionCaseName);

}  // namespace
