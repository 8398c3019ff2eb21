// Descriptor matching: Hamming distances and bit counts, unit-vector
// distances of 36-element descriptors and the KD-tree over them.
//
// Rows are <operation>/<implementation>/<a>/<b>:
// - one query against 10 000 binary descriptors of 32 or 64 bytes
//   (/10000/<bytes>), four at a time; OpenCV's peer is cv::batchDistance
//   with NORM_HAMMING;
// - descriptor pairs one at a time (/10000/<bytes>); the peer is cv::norm
//   with NORM_HAMMING on two 1-row matrices;
// - whole 640x480 buffers (/640/480) for the arbitrary lengths; the peer is
//   cv::norm with NORM_HAMMING;
// - the KD-tree: 1 000 queries against 10 000 descriptors at a check budget
//   (/10000/<checks>); the peer is cv::flann::Index with KDTreeIndexParams(4)
//   (four randomised trees) on the same descriptors as unit float vectors.
//   The counter "recall" is the share of queries whose first result is the
//   exact nearest neighbour.
#include <math.h>

#include <algorithm>

#include "ombrixBenchSupport.h"
#include "ombrixKernels.h"

#ifdef OMBRIX_HAVE_OPENCV_FLANN
#include <opencv2/flann.hpp>
#endif

namespace {

constexpr uint32_t kDescriptors = 10000;
constexpr uint32_t kQueries = 1000;

// ---- Binary descriptors --------------------------------------------------------------

std::vector<uint8_t> randomBytes(size_t n, uint32_t seed) {
    std::mt19937 rng(seed);
    std::vector<uint8_t> v(n);
    for (uint8_t& b : v) b = static_cast<uint8_t>(rng());
    return v;
}

template <obxHammingDistanceFixed4_fn* Distances>
void BM_OneAgainstMany(benchmark::State& state) {
    const uint32_t len = static_cast<uint32_t>(state.range(1));
    const std::vector<uint8_t> train = randomBytes(size_t{kDescriptors} * len, 1), query = randomBytes(len, 2);
    std::vector<uint32_t> d(kDescriptors);
    for (auto _ : state) {
        for (uint32_t i = 0; i < kDescriptors; i += 4) {
            const uint8_t* t = train.data() + size_t{i} * len;
            Distances(query.data(), t, t + len, t + 2 * len, t + 3 * len, d.data() + i);
        }
        benchmark::DoNotOptimize(d.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kDescriptors);
}

template <obxHammingDistanceFixed_fn* Distance>
void BM_Pairs(benchmark::State& state) {
    const uint32_t len = static_cast<uint32_t>(state.range(1));
    const std::vector<uint8_t> train = randomBytes(size_t{kDescriptors} * len + len, 3);
    uint32_t sum = 0;
    for (auto _ : state) {
        for (uint32_t i = 0; i < kDescriptors; ++i) sum += Distance(&train[size_t{i} * len], &train[size_t{i + 1} * len]);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kDescriptors);
}

template <obxHammingDistanceu8_fn* Distance>
void BM_HammingBuffer(benchmark::State& state) {
    const size_t n = static_cast<size_t>(state.range(0) * state.range(1));
    const std::vector<uint8_t> a = randomBytes(n, 4), b = randomBytes(n, 5);
    for (auto _ : state) benchmark::DoNotOptimize(Distance(a.data(), b.data(), static_cast<uint32_t>(n)));
    ombrix_bench::setImageCounters(state, 1);
}

template <obxBitCountu8_fn* Count>
void BM_BitCountBuffer(benchmark::State& state) {
    const size_t n = static_cast<size_t>(state.range(0) * state.range(1));
    const std::vector<uint8_t> a = randomBytes(n, 6);
    for (auto _ : state) benchmark::DoNotOptimize(Count(a.data(), static_cast<uint32_t>(n)));
    ombrix_bench::setImageCounters(state, 1);
}

void manyArgs(benchmark::internal::Benchmark* b) { b->Args({kDescriptors, 32}); }
void manyArgs64(benchmark::internal::Benchmark* b) { b->Args({kDescriptors, 64}); }
void bufferArgs(benchmark::internal::Benchmark* b) { b->Args({640, 480}); }

BENCHMARK_TEMPLATE(BM_OneAgainstMany, obxHammingDistance32x4u8a4C)->Name("obxHammingDistance32x4u8a4/reference")->Apply(manyArgs);
BENCHMARK_TEMPLATE(BM_OneAgainstMany, obxHammingDistance32x4u8a4V)->Name("obxHammingDistance32x4u8a4/vector")->Apply(manyArgs);
BENCHMARK_TEMPLATE(BM_OneAgainstMany, obxHammingDistance64x4u8C)->Name("obxHammingDistance64x4u8/reference")->Apply(manyArgs64);
BENCHMARK_TEMPLATE(BM_OneAgainstMany, obxHammingDistance64x4u8V)->Name("obxHammingDistance64x4u8/vector")->Apply(manyArgs64);
BENCHMARK_TEMPLATE(BM_Pairs, obxHammingDistance32x1u8C)->Name("obxHammingDistance32x1u8/reference")->Args({kDescriptors, 32});
BENCHMARK_TEMPLATE(BM_Pairs, obxHammingDistance32x1u8V)->Name("obxHammingDistance32x1u8/vector")->Args({kDescriptors, 32});
BENCHMARK_TEMPLATE(BM_Pairs, obxHammingDistance64x1u8C)->Name("obxHammingDistance64x1u8/reference")->Args({kDescriptors, 64});
BENCHMARK_TEMPLATE(BM_Pairs, obxHammingDistance64x1u8V)->Name("obxHammingDistance64x1u8/vector")->Args({kDescriptors, 64});
BENCHMARK_TEMPLATE(BM_HammingBuffer, obxHammingDistanceu8C)->Name("obxHammingDistanceu8/reference")->Apply(bufferArgs);
BENCHMARK_TEMPLATE(BM_HammingBuffer, obxHammingDistanceu8V)->Name("obxHammingDistanceu8/vector")->Apply(bufferArgs);
BENCHMARK_TEMPLATE(BM_BitCountBuffer, obxBitCountu8C)->Name("obxBitCountu8/reference")->Apply(bufferArgs);
BENCHMARK_TEMPLATE(BM_BitCountBuffer, obxBitCountu8V)->Name("obxBitCountu8/vector")->Apply(bufferArgs);

#ifdef OMBRIX_HAVE_OPENCV
void BM_CvBatchHamming(benchmark::State& state) {
    const int len = static_cast<int>(state.range(1));
    std::vector<uint8_t> train = randomBytes(size_t{kDescriptors} * len, 1), query = randomBytes(len, 2);
    const cv::Mat t(kDescriptors, len, CV_8U, train.data()), q(1, len, CV_8U, query.data());
    cv::Mat d;
    for (auto _ : state) {
        cv::batchDistance(q, t, d, CV_32S, cv::noArray(), cv::NORM_HAMMING);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kDescriptors);
}
void BM_CvPairs(benchmark::State& state) {
    const int len = static_cast<int>(state.range(1));
    std::vector<uint8_t> train = randomBytes(size_t{kDescriptors} * len + len, 3);
    double sum = 0;
    for (auto _ : state) {
        for (uint32_t i = 0; i < kDescriptors; ++i)
            sum += cv::norm(cv::Mat(1, len, CV_8U, &train[size_t{i} * len]), cv::Mat(1, len, CV_8U, &train[size_t{i + 1} * len]),
                            cv::NORM_HAMMING);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kDescriptors);
}
void BM_CvHammingBuffer(benchmark::State& state) {
    const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
    std::vector<uint8_t> a = randomBytes(size_t(w) * h, 4), b = randomBytes(size_t(w) * h, 5);
    const cv::Mat ma(h, w, CV_8U, a.data()), mb(h, w, CV_8U, b.data());
    for (auto _ : state) benchmark::DoNotOptimize(cv::norm(ma, mb, cv::NORM_HAMMING));
    ombrix_bench::setImageCounters(state, 1);
}
void BM_CvBitCountBuffer(benchmark::State& state) {
    const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
    std::vector<uint8_t> a = randomBytes(size_t(w) * h, 6);
    const cv::Mat ma(h, w, CV_8U, a.data());
    for (auto _ : state) benchmark::DoNotOptimize(cv::norm(ma, cv::NORM_HAMMING));
    ombrix_bench::setImageCounters(state, 1);
}
BENCHMARK(BM_CvBatchHamming)->Name("obxHammingDistance32x4u8a4/opencv")->Apply(manyArgs);
BENCHMARK(BM_CvBatchHamming)->Name("obxHammingDistance64x4u8/opencv")->Apply(manyArgs64);
BENCHMARK(BM_CvPairs)->Name("obxHammingDistance32x1u8/opencv")->Args({kDescriptors, 32});
BENCHMARK(BM_CvPairs)->Name("obxHammingDistance64x1u8/opencv")->Args({kDescriptors, 64});
BENCHMARK(BM_CvHammingBuffer)->Name("obxHammingDistanceu8/opencv")->Apply(bufferArgs);
BENCHMARK(BM_CvBitCountBuffer)->Name("obxBitCountu8/opencv")->Apply(bufferArgs);
#endif

// ---- 36-element descriptors --------------------------------------------------------------

// Descriptors as feature matching meets them: 10 000 points around 400
// centres (spread 25 per element), and queries that are stored points seen
// again with noise (spread 30), so that near neighbours compete.
struct DescriptorSet {
    std::vector<int8_t> values, queries;
    std::vector<float> invLengths, queryInvLengths;
    std::vector<int32_t> nearest;  // exact nearest neighbour of every query

    static int8_t clamp127(int v) { return static_cast<int8_t>(std::clamp(v, -127, 127)); }
    static float inverseLength(const int8_t* v) {
        int32_t sq = 0;
        for (int k = 0; k < 36; ++k) sq += v[k] * v[k];
        return sq ? 1.0f / sqrtf(static_cast<float>(sq)) : 0.0f;
    }
    DescriptorSet() : values(36 * kDescriptors), queries(36 * kQueries), invLengths(kDescriptors),
                      queryInvLengths(kQueries), nearest(kQueries) {
        std::mt19937 rng(9);
        std::normal_distribution<float> noise(0.0f, 1.0f);
        std::vector<int> centres(36 * 400);
        for (int& c : centres) c = static_cast<int>(rng() % 255) - 127;
        for (uint32_t i = 0; i < kDescriptors; ++i) {
            const int* c = &centres[36 * (rng() % 400)];
            for (int k = 0; k < 36; ++k) values[36 * i + k] = clamp127(c[k] + static_cast<int>(25 * noise(rng)));
            invLengths[i] = inverseLength(&values[36 * i]);
        }
        for (uint32_t q = 0; q < kQueries; ++q) {
            const int8_t* p = &values[36 * (rng() % kDescriptors)];
            for (int k = 0; k < 36; ++k) queries[36 * q + k] = clamp127(p[k] + static_cast<int>(30 * noise(rng)));
            queryInvLengths[q] = inverseLength(&queries[36 * q]);
            std::vector<float> d(kDescriptors);
            obxSumOfSquaredDiffs36xNs8C(&queries[36 * q], queryInvLengths[q], values.data(), invLengths.data(),
                                        kDescriptors, d.data());
            nearest[q] = static_cast<int32_t>(std::min_element(d.begin(), d.end()) - d.begin());
        }
    }
};
const DescriptorSet& descriptorSet() {
    static const DescriptorSet set;
    return set;
}

template <obxSumOfSquaredDiffs36xNs8_fn* Distances>
void BM_UnitDistances(benchmark::State& state) {
    const DescriptorSet& s = descriptorSet();
    std::vector<float> d(kDescriptors);
    for (auto _ : state) {
        Distances(s.queries.data(), s.queryInvLengths[0], s.values.data(), s.invLengths.data(), kDescriptors, d.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kDescriptors);
}
BENCHMARK_TEMPLATE(BM_UnitDistances, obxSumOfSquaredDiffs36xNs8C)->Name("obxSumOfSquaredDiffs36xNs8/reference")->Args({kDescriptors, 36});
BENCHMARK_TEMPLATE(BM_UnitDistances, obxSumOfSquaredDiffs36xNs8V)->Name("obxSumOfSquaredDiffs36xNs8/vector")->Args({kDescriptors, 36});

// `vector` points the distance slot that the search calls at the vector
// variant.
template <bool Vector>
void BM_KDTreeQuery(benchmark::State& state) {
    const DescriptorSet& s = descriptorSet();
    const int32_t checks = static_cast<int32_t>(state.range(1));
    srand48(1);
    obxKDTrees36s8f32* tree = nullptr;
    obxKDTreeCreate36s8f32C(s.values.data(), s.invLengths.data(), kDescriptors, &tree);
    obxSumOfSquaredDiffs36xNs8_ = Vector ? obxSumOfSquaredDiffs36xNs8V : obxSumOfSquaredDiffs36xNs8C;
    int32_t hits = 0;
    for (auto _ : state) {
        hits = 0;
        for (uint32_t q = 0; q < kQueries; ++q) {
            int32_t found = 0, index[2];
            float dist[2];
            obxKDTreeQuery36s8f32C(tree, &s.queries[36 * q], s.queryInvLengths[q], 2, 4.5f, checks, nullptr, &found,
                                   index, dist);
            hits += found > 0 && index[0] == s.nearest[q];
        }
    }
    obxSumOfSquaredDiffs36xNs8_ = obxSumOfSquaredDiffs36xNs8C;
    obxKDTreeDestroy36s8f32C(tree);
    state.counters["recall"] = double(hits) / kQueries;
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kQueries);
}
void checkBudgets(benchmark::internal::Benchmark* b) {
    for (int checks : {4, 8, 16, 32, 64, 128}) b->Args({kDescriptors, checks});
}
BENCHMARK_TEMPLATE(BM_KDTreeQuery, false)->Name("obxKDTreeQuery36s8f32/reference")->Apply(checkBudgets);
BENCHMARK_TEMPLATE(BM_KDTreeQuery, true)->Name("obxKDTreeQuery36s8f32/vector")->Apply(checkBudgets);

void BM_KDTreeCreate(benchmark::State& state) {
    const DescriptorSet& s = descriptorSet();
    for (auto _ : state) {
        obxKDTrees36s8f32* tree = nullptr;
        obxKDTreeCreate36s8f32C(s.values.data(), s.invLengths.data(), kDescriptors, &tree);
        obxKDTreeDestroy36s8f32C(tree);
    }
}
BENCHMARK(BM_KDTreeCreate)->Name("obxKDTreeCreate36s8f32/reference")->Args({kDescriptors, 1});

#ifdef OMBRIX_HAVE_OPENCV_FLANN
// The same descriptors as unit float vectors.
cv::Mat unitRows(const std::vector<int8_t>& v, const std::vector<float>& inv) {
    cv::Mat m(static_cast<int>(inv.size()), 36, CV_32F);
    for (int i = 0; i < m.rows; ++i)
        for (int k = 0; k < 36; ++k) m.at<float>(i, k) = static_cast<float>(v[36 * size_t(i) + k]) * inv[i];
    return m;
}

void BM_CvFlannQuery(benchmark::State& state) {
    const DescriptorSet& s = descriptorSet();
    const cv::Mat train = unitRows(s.values, s.invLengths), queries = unitRows(s.queries, s.queryInvLengths);
    cv::flann::Index index(train, cv::flann::KDTreeIndexParams(4));
    cv::Mat indices, dists;
    for (auto _ : state) index.knnSearch(queries, indices, dists, 2, cv::flann::SearchParams(static_cast<int>(state.range(1))));
    int32_t hits = 0;
    for (uint32_t q = 0; q < kQueries; ++q) hits += indices.at<int>(static_cast<int>(q), 0) == s.nearest[q];
    state.counters["recall"] = double(hits) / kQueries;
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kQueries);
}
BENCHMARK(BM_CvFlannQuery)->Name("obxKDTreeQuery36s8f32/opencv")->Apply(checkBudgets);

void BM_CvFlannCreate(benchmark::State& state) {
    const DescriptorSet& s = descriptorSet();
    const cv::Mat train = unitRows(s.values, s.invLengths);
    for (auto _ : state) {
        cv::flann::Index index(train, cv::flann::KDTreeIndexParams(4));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_CvFlannCreate)->Name("obxKDTreeCreate36s8f32/opencv")->Args({kDescriptors, 1});
#endif

}  // namespace

BENCHMARK_MAIN();
