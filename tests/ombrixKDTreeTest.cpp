// Unit-vector distances of 36-element descriptors (both variants against a
// plain evaluation, many counts, unaligned descriptors, guarded output) and
// the KD-tree over such descriptors: brute-force agreement with an unlimited
// check budget, the shape of results under a small budget, the bounds and
// limits of a query, reproducible builds for one srand48 seed, distances
// taken through the slot, and the assertion texts.
#include <math.h>

#include "ombrixKDTree36s8f32.h"
#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

// Random descriptors in [-127, 127] with their inverse lengths.
struct Descriptors {
    std::vector<int8_t> values;
    std::vector<float> invLengths;
    Descriptors(uint32_t n, std::mt19937& rng) : values(36 * size_t{n}), invLengths(n) {
        for (uint32_t i = 0; i < n; ++i) {
            // Some descriptors are sparse, as flat regions give.
            const bool sparse = rng() % 4 == 0;
            for (int k = 0; k < 36; ++k)
                values[36 * i + k] = static_cast<int8_t>(sparse && rng() % 3 ? 0 : int(rng() % 255) - 127);
            values[36 * i + rng() % 36] = 100;  // never all zero
            invLengths[i] = inverseLength(&values[36 * i]);
        }
    }
    static float inverseLength(const int8_t* v) {
        int32_t sq = 0;
        for (int k = 0; k < 36; ++k) sq += v[k] * v[k];
        return 1.0f / sqrtf(static_cast<float>(sq));
    }
    const int8_t* at(uint32_t i) const { return &values[36 * size_t{i}]; }
    uint32_t size() const { return static_cast<uint32_t>(invLengths.size()); }
};

float plainDistance(const int8_t* a, float invA, const int8_t* b, float invB) {
    int32_t dot = 0;
    for (int k = 0; k < 36; ++k) dot += a[k] * b[k];
    return fabsf(2.0f - ((invB + invB) * invA) * static_cast<float>(dot));
}

// ---- Distances -----------------------------------------------------------------------

TEST(SquaredDiffs36xN, HandChecked) {
    std::vector<int8_t> a(36, 0), b(36 * 3, 0);
    a[0] = 3, a[1] = 4;                    // length 5
    b[0] = 3, b[1] = 4;                    // the same direction
    b[36 + 0] = -6, b[36 + 1] = -8;        // opposite, length 10
    b[72 + 2] = 7;                         // orthogonal
    const float inv[3] = {0.2f, 0.1f, 1.0f / 7.0f};
    for (obxSumOfSquaredDiffs36xNs8_fn* f : {obxSumOfSquaredDiffs36xNs8C, obxSumOfSquaredDiffs36xNs8V}) {
        float d[3] = {-1, -1, -1};
        f(a.data(), 0.2f, b.data(), inv, 3, d);
        EXPECT_NEAR(d[0], 0.0f, 1e-6f);
        EXPECT_GE(d[0], 0.0f);
        EXPECT_NEAR(d[1], 4.0f, 1e-6f);
        EXPECT_EQ(d[2], 2.0f);
    }
}

TEST(SquaredDiffs36xN, VectorMatchesReference) {
    std::mt19937 rng(3);
    for (uint32_t numB = 0; numB < 70; ++numB) {
        const Descriptors set(numB + 1, rng);
        GuardedBuffer bytes(36 * size_t{numB} + 36, rng() % 16), aBytes(36, rng() % 16);
        memcpy(bytes.data(), set.values.data(), 36 * size_t{numB});
        memcpy(aBytes.data(), set.at(numB), 36);
        const auto* a = reinterpret_cast<const int8_t*>(aBytes.data());
        const auto* b = reinterpret_cast<const int8_t*>(bytes.data());
        GuardedBuffer expected(4 * size_t{numB}, 0), actual(4 * size_t{numB}, 4 * (rng() % 4));
        obxSumOfSquaredDiffs36xNs8C(a, set.invLengths[numB], b, set.invLengths.data(), numB,
                                    reinterpret_cast<float*>(expected.data()));
        obxSumOfSquaredDiffs36xNs8V(a, set.invLengths[numB], b, set.invLengths.data(), numB,
                                    reinterpret_cast<float*>(actual.data()));
        ASSERT_EQ(memcmp(expected.data(), actual.data(), 4 * size_t{numB}), 0) << numB;
        for (uint32_t i = 0; i < numB; ++i) {
            float d;
            memcpy(&d, expected.data() + 4 * i, 4);
            ASSERT_EQ(d, plainDistance(a, set.invLengths[numB], set.at(i), set.invLengths[i])) << numB << " " << i;
        }
        ASSERT_TRUE(actual.guardsIntact() && expected.guardsIntact());
    }
}

// ---- KD-tree ---------------------------------------------------------------------------

struct Tree {
    obxKDTrees36s8f32* handle = nullptr;
    Tree(const Descriptors& d, long seed) {
        srand48(seed);
        EXPECT_EQ(obxKDTreeCreate36s8f32C(d.values.data(), d.invLengths.data(), static_cast<int32_t>(d.size()), &handle),
                  0);
    }
    ~Tree() { EXPECT_EQ(obxKDTreeDestroy36s8f32C(handle), 0); }
    std::vector<std::pair<float, int32_t>> query(const int8_t* q, float qInv, int32_t maxNNs, float maxDist,
                                                 int32_t maxChecks) {
        std::vector<int32_t> inds(maxNNs + 1, -7);
        std::vector<float> dists(maxNNs + 1, -7.0f);
        int32_t found = -1;
        EXPECT_EQ(obxKDTreeQuery36s8f32C(handle, q, qInv, maxNNs, maxDist, maxChecks, nullptr, &found, inds.data(),
                                         dists.data()),
                  0);
        EXPECT_TRUE(found >= 0 && found <= maxNNs);
        EXPECT_EQ(inds[maxNNs], -7);  // nothing written past maxNNs entries
        std::vector<std::pair<float, int32_t>> r;
        for (int32_t k = 0; k < found; ++k) r.push_back({dists[k], inds[k]});
        return r;
    }
};

// The nearest maxNNs points, by distance then index, closer than maxDist.
std::vector<std::pair<float, int32_t>> bruteForce(const Descriptors& d, const int8_t* q, float qInv, int32_t maxNNs,
                                                  float maxDist) {
    std::vector<std::pair<float, int32_t>> all;
    for (uint32_t i = 0; i < d.size(); ++i) all.push_back({plainDistance(q, qInv, d.at(i), d.invLengths[i]), int32_t(i)});
    std::sort(all.begin(), all.end());
    std::vector<std::pair<float, int32_t>> r;
    for (const auto& e : all)
        if (int32_t(r.size()) < maxNNs && e.first < maxDist) r.push_back(e);
    return r;
}

TEST(KDTree, UnlimitedChecksEqualBruteForce) {
    std::mt19937 rng(11);
    for (uint32_t n : {1u, 2u, 3u, 17u, 150u, 600u}) {
        const Descriptors data(n, rng), queries(25, rng);
        Tree tree(data, n);
        for (uint32_t q = 0; q < 30; ++q) {
            // The last queries are stored points themselves.
            const int8_t* query = q < 25 ? queries.at(q) : data.at(rng() % n);
            const float qInv = Descriptors::inverseLength(query);
            for (int32_t maxNNs : {1, 3, 10, int32_t(n)}) {
                SCOPED_TRACE(::testing::Message() << "n " << n << " query " << q << " maxNNs " << maxNNs);
                ASSERT_EQ(tree.query(query, qInv, maxNNs, 5.0f, INT32_MAX), bruteForce(data, query, qInv, maxNNs, 5.0f));
            }
        }
    }
}

TEST(KDTree, SmallBudgetGivesSortedDistinctBoundedResults) {
    std::mt19937 rng(12);
    const Descriptors data(500, rng), queries(40, rng);
    Tree tree(data, 5);
    size_t exactFirst = 0;
    for (uint32_t q = 0; q < queries.size(); ++q) {
        const float qInv = queries.invLengths[q];
        const auto r = tree.query(queries.at(q), qInv, 8, 1.9f, 40);
        std::set<int32_t> seen;
        for (size_t k = 0; k < r.size(); ++k) {
            ASSERT_TRUE(seen.insert(r[k].second).second);
            ASSERT_LT(r[k].first, 1.9f);
            ASSERT_EQ(r[k].first, plainDistance(queries.at(q), qInv, data.at(r[k].second), data.invLengths[r[k].second]));
            if (k) {
                ASSERT_TRUE(r[k - 1] < r[k]);
            }
        }
        const auto exact = bruteForce(data, queries.at(q), qInv, 1, 1.9f);
        exactFirst += !r.empty() && !exact.empty() && r[0] == exact[0];
    }
    // Best bin first with 40 of 500 points checked still finds most nearest
    // neighbours of random data.
    EXPECT_GT(exactFirst, queries.size() / 4);
}

TEST(KDTree, QueryLimits) {
    std::mt19937 rng(13);
    Descriptors data(64, rng);
    // Points 20 and 41 are the same descriptor: equal distances, by index.
    memcpy(&data.values[36 * 41], data.at(20), 36);
    data.invLengths[41] = data.invLengths[20];
    Tree tree(data, 9);
    const float inv = data.invLengths[20];
    const auto same = tree.query(data.at(20), inv, 2, 5.0f, INT32_MAX);
    ASSERT_EQ(same.size(), 2u);
    EXPECT_EQ(same[0].second, 20);
    EXPECT_EQ(same[1].second, 41);
    EXPECT_LT(same[0].first, 1e-5f);
    EXPECT_EQ(same[0].first, same[1].first);
    EXPECT_TRUE(tree.query(data.at(3), inv, 5, 0.0f, INT32_MAX).empty());   // maxDist 0: strict test
    EXPECT_TRUE(tree.query(data.at(3), inv, 0, 5.0f, INT32_MAX).empty());   // maxNNs 0
    EXPECT_EQ(tree.query(data.at(3), inv, 5, 5.0f, 0).size(), 5u);          // fills the list past the budget
    // Stamps grow more negative per query and never meet point indices.
    EXPECT_LT(tree.handle->nodes->stamp, -1000);
}

TEST(KDTree, EmptyTree) {
    const int8_t q[36] = {1};
    int8_t dummy[36] = {0};
    float inv = 1.0f;
    obxKDTrees36s8f32* handle = nullptr;
    ASSERT_EQ(obxKDTreeCreate36s8f32C(dummy, &inv, 0, &handle), 0);
    int32_t found = -1, ind = -1;
    float dist = -1;
    EXPECT_EQ(obxKDTreeQuery36s8f32C(handle, q, 1.0f, 1, 5.0f, 10, nullptr, &found, &ind, &dist), 0);
    EXPECT_EQ(found, 0);
    EXPECT_EQ(obxKDTreeDestroy36s8f32C(handle), 0);
}

// Every point is one leaf, 2n - 1 nodes in all; the same seed builds the
// same nodes, another seed other ones.
TEST(KDTree, SameSeedSameTree) {
    std::mt19937 rng(14);
    const Descriptors data(300, rng);
    const auto nodes = [&](long seed) {
        Tree tree(data, seed);
        const KDTreePool36s8f32* pool = tree.handle->nodes->pool;
        std::vector<KDTreeNode36s8f32> copy(pool->block, pool->block + pool->count);
        return copy;
    };
    const auto first = nodes(77), again = nodes(77), other = nodes(78);
    ASSERT_EQ(first.size(), 2 * data.size() - 1);
    std::vector<int> leaves(data.size(), 0);
    for (const KDTreeNode36s8f32& n : first) {
        if (n.left == -1) {
            ASSERT_EQ(n.right, -1);
            ++leaves.at(n.dimOrPoint);
        } else {
            ASSERT_TRUE(n.dimOrPoint >= 0 && n.dimOrPoint < 36);
        }
    }
    EXPECT_EQ(std::count(leaves.begin(), leaves.end(), 1), int(data.size()));
    EXPECT_EQ(memcmp(first.data(), again.data(), first.size() * sizeof first[0]), 0);
    EXPECT_NE(memcmp(first.data(), other.data(), first.size() * sizeof first[0]), 0);
}

// The split statistics of a range read only its first 101 points.
TEST(KDTree, SplitStatisticsSampleTheFirst101Points) {
    std::mt19937 rng(15);
    Descriptors data(300, rng);
    Tree tree(data, 3);
    obxKDTreeIndex36s8f32* index = tree.handle->nodes;
    std::vector<float> mean(36), var(36), sample(110 * 36);
    index->mean = mean.data(), index->var = var.data(), index->sample = sample.data();
    KDTrees36s8f32_compMeanVar(index, 10, 299);
    std::vector<float> before = mean;
    for (int32_t k = 111; k < 300; ++k)
        for (int d = 0; d < 36; ++d) data.values[36 * size_t(index->points[k]) + d] = 127;
    KDTrees36s8f32_compMeanVar(index, 10, 299);
    EXPECT_EQ(before, mean);
    data.values[36 * size_t(index->points[110]) + 0] ^= 1;
    KDTrees36s8f32_compMeanVar(index, 10, 299);
    EXPECT_NE(before[0], mean[0]);
    index->mean = index->var = index->sample = nullptr;
}

// Distances come through the obxSumOfSquaredDiffs36xNs8 slot.
float gFakeScale = 0;
void fakeDistances(const int8_t*, float, const int8_t* b, const float*, uint32_t numB, float* distances) {
    for (uint32_t i = 0; i < numB; ++i) distances[i] = gFakeScale * static_cast<float>(b[i * 36]);
}

TEST(KDTree, DistancesThroughTheSlot) {
    std::mt19937 rng(16);
    Descriptors data(40, rng);
    for (int i = 0; i < 40; ++i) data.values[36 * i] = static_cast<int8_t>(80 - 2 * i);  // decreasing
    Tree tree(data, 4);
    obxSumOfSquaredDiffs36xNs8_fn* saved = obxSumOfSquaredDiffs36xNs8_;
    obxSumOfSquaredDiffs36xNs8_ = fakeDistances;
    gFakeScale = 0.001f;
    // A list that never fills prunes nothing, whatever the distances.
    const auto r = tree.query(data.at(0), data.invLengths[0], 40, 5.0f, INT32_MAX);
    obxSumOfSquaredDiffs36xNs8_ = saved;
    ASSERT_EQ(r.size(), 40u);
    EXPECT_EQ(r[0].second, 39);
    EXPECT_EQ(r[1].second, 38);
    EXPECT_EQ(r[2].second, 37);
}

// ---- Assertions ------------------------------------------------------------------------

int8_t gVec[36 * 4];
float gFloats[8];
int32_t gInts[8];

std::vector<AssertionCase> assertionCases() {
    std::vector<AssertionCase> cases;
    for (bool vector : {false, true}) {
        obxSumOfSquaredDiffs36xNs8_fn* f = vector ? obxSumOfSquaredDiffs36xNs8V : obxSumOfSquaredDiffs36xNs8C;
        const std::string module = vector ? "src/lanex/ombrixSquaredDiffV" : "src/cpu/ombrixSquaredDiffC";
        for (int missing = 0; missing < 4; ++missing)
            cases.push_back({"distances", [f, missing] {
                                 f(missing == 0 ? nullptr : gVec, 1.0f, missing == 1 ? nullptr : gVec,
                                   missing == 2 ? nullptr : gFloats, 1, missing == 3 ? nullptr : gFloats);
                             }, module, "a && b && invLenB && distances"});
    }
    const std::string module = "src/cpu/ombrixKDTree36s8f32C";
    const std::string create = "vectors && invLengths && (numVectors >= 0) && kdtrees";
    static obxKDTrees36s8f32* out;
    cases.push_back({"create vectors", [] { obxKDTreeCreate36s8f32C(nullptr, gFloats, 1, &out); }, module, create});
    cases.push_back({"create lengths", [] { obxKDTreeCreate36s8f32C(gVec, nullptr, 1, &out); }, module, create});
    cases.push_back({"create count", [] { obxKDTreeCreate36s8f32C(gVec, gFloats, -1, &out); }, module, create});
    cases.push_back({"create handle", [] { obxKDTreeCreate36s8f32C(gVec, gFloats, 1, nullptr); }, module, create});
    const std::string query =
        "kdtrees && kdtrees->nodes && query && (queryInvLen >= 0.f) && (maxNNs >= 0) && (maxDist >= 0.f) && "
        "(maxChecks >= 0) && numNNsFound && NNInds && NNDists";
    for (int broken = 0; broken < 10; ++broken)
        cases.push_back({"query " + std::to_string(broken), [broken] {
                             static const float one = 1.0f;
                             obxKDTrees36s8f32* handle = nullptr;
                             if (broken > 1) obxKDTreeCreate36s8f32C(gVec, &one, 1, &handle);
                             static obxKDTrees36s8f32 withoutTree = {nullptr, nullptr};
                             if (broken == 1) handle = &withoutTree;
                             obxKDTreeQuery36s8f32C(handle, broken == 2 ? nullptr : gVec, broken == 3 ? -1.0f : 1.0f,
                                                    broken == 4 ? -1 : 1, broken == 5 ? -1.0f : 1.0f,
                                                    broken == 6 ? -1 : 1, nullptr, broken == 7 ? nullptr : gInts,
                                                    broken == 8 ? nullptr : gInts, broken == 9 ? nullptr : gFloats);
                         }, module, query});
    cases.push_back({"destroy", [] { obxKDTreeDestroy36s8f32C(nullptr); }, module, "kdtrees"});
    return cases;
}

INSTANTIATE_TEST_SUITE_P(KDTree, AssertionText, ::testing::ValuesIn(assertionCases()), assertionCaseName);

}  // namespace
