// Randomised KD-tree over 36-element descriptors, searched best bin first.
//
// Build: the point indices are shuffled, then ranges are split top-down at
// the mean of one of the five dimensions of largest variance (picked at
// random, which decorrelates trees), estimated from the first 101 points of
// the range. Points are compared as unit vectors: value * inverse length.
//
// Query: descend to the leaf on the query's side of every split, queueing
// each far branch with its distance estimate (the branch's estimate plus the
// squared distance to the split); then take branches from the queue nearest
// first until it is empty, or until the check budget is spent and the result
// list is full.
#include <stdlib.h>
#include <string.h>

#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixKDTree36s8f32.h"

namespace {

constexpr int32_t kDims = 36;
// Ranges are characterised by their first kSampled points.
constexpr int32_t kSampled = 101;
constexpr int32_t kSampleRows = 110;
constexpr int32_t kTopDims = 5;
constexpr int32_t kFirstStamp = -1000;
// Far above any distance of unit vectors (at most 4).
constexpr float kUnfilledBound = 123663.0f;

// Allocations are counted in the heap statistics. A request of 0 bytes asks
// for 1, so that an empty tree still owns distinct blocks.
void* kdAlloc(size_t size) {
    void* p = malloc(size ? size : 1);
    if (p) obxHeapStatsMalloc(p, static_cast<uint32_t>(size));
    return p;
}
void kdFree(void* p) {
    if (!p) return;
    obxHeapStatsFree(p);
    free(p);
}
template <typename T>
T* kdAllocArray(size_t count) {
    return static_cast<T*>(kdAlloc(sizeof(T) * count));
}

float scaledValue(const KDTreePoint36s8f32& p, int32_t d) { return static_cast<float>(p.vec[d]) * p.invLength; }

// [first, last] of the point array, and where the node index goes.
struct Frame {
    int32_t first, last;
    int32_t* where;
};
struct CallStack {
    Frame* frames;
    int32_t top, maxSize;
};

bool resultsFull(const obxKDTreeIndex36s8f32* tree) { return tree->numResults == tree->maxNNs; }

// The distance a branch must not exceed to be worth searching.
float worstDistance(const obxKDTreeIndex36s8f32* tree) {
    return resultsFull(tree) && tree->numResults > 0 ? tree->results[tree->numResults - 1].dist : tree->bound;
}

// Inserts (point, dist) in distance order, ties by point index; a full list
// takes it only before its last entry, which drops out.
void insertResult(obxKDTreeIndex36s8f32* tree, int32_t point, float dist) {
    KDTreeResult36s8f32* r = tree->results;
    int32_t pos = 0;
    while (pos < tree->numResults && !(r[pos].dist > dist || (r[pos].dist == dist && r[pos].point > point))) ++pos;
    if (resultsFull(tree)) {
        if (pos >= tree->numResults) return;
    } else {
        ++tree->numResults;
    }
    for (int32_t k = tree->numResults - 1; k > pos; --k) r[k] = r[k - 1];
    r[pos] = {point, dist};
}

void checkLeaf(obxKDTreeIndex36s8f32* tree, int32_t point) {
    if (tree->points[point] == tree->stamp) {
        if (resultsFull(tree)) return;
    } else if (tree->checks >= tree->maxChecks && resultsFull(tree)) {
        return;
    }
    ++tree->checks;
    tree->points[point] = tree->stamp;
    for (int32_t k = 0; k < tree->numResults; ++k)
        if (tree->results[k].point == point) return;
    const KDTreePoint36s8f32& p = tree->dataset->points[point];
    float dist;
    obxSumOfSquaredDiffs36xNs8_(tree->query, tree->queryInvLen, p.vec, &p.invLength, 1, &dist);
    insertResult(tree, point, dist);
}

}  // namespace

extern "C" {

// ---- Branch heap -----------------------------------------------------------------

void heaplocal_insert(obxKDTreeIndex36s8f32* tree, int32_t node, float dist) {
    if (tree->heapCount >= tree->heapCapacity - 1) return;
    KDTreeBranch36s8f32* h = tree->heap;
    int32_t pos = ++tree->heapCount;
    while (pos > 1 && dist < h[pos / 2].dist) {
        h[pos] = h[pos / 2];
        pos /= 2;
    }
    h[pos] = {node, dist};
}

void heaplocal_heapify(obxKDTreeIndex36s8f32* tree, int32_t position) {
    KDTreeBranch36s8f32* h = tree->heap;
    const KDTreeBranch36s8f32 entry = h[position];
    for (;;) {
        int32_t child = 2 * position;
        if (child > tree->heapCount) break;
        if (child + 1 <= tree->heapCount && h[child + 1].dist < h[child].dist) ++child;
        if (!(h[child].dist < entry.dist)) break;
        h[position] = h[child];
        position = child;
    }
    h[position] = entry;
}

// The caller ensures the heap is not empty.
KDTreeBranch36s8f32 heaplocal_popMin(obxKDTreeIndex36s8f32* tree) {
    KDTreeBranch36s8f32* h = tree->heap;
    const KDTreeBranch36s8f32 top = h[1];
    h[1] = h[tree->heapCount--];
    if (tree->heapCount > 0) heaplocal_heapify(tree, 1);
    return top;
}

// ---- Build -----------------------------------------------------------------------

void KDTrees36s8f32_Init(obxKDTreeIndex36s8f32* KDTrees36s8f32_tree, const obxKDTreeDataset36s8f32* dataset) {
    memset(KDTrees36s8f32_tree, 0, sizeof *KDTrees36s8f32_tree);
    KDTrees36s8f32_tree->dataset = dataset;
    KDTrees36s8f32_tree->stamp = kFirstStamp;
    KDTrees36s8f32_tree->bound = kUnfilledBound;
    KDTrees36s8f32_tree->pool = kdAllocArray<KDTreePool36s8f32>(1);
    OMBRIX_ASSERT(KDTrees36s8f32_tree->pool);
    KDTrees36s8f32_tree->pool->count = 0;
    KDTrees36s8f32_tree->pool->block = static_cast<KDTreeNode36s8f32*>(kdAlloc(32 * size_t(dataset->numPoints)));
    OMBRIX_ASSERT(KDTrees36s8f32_tree->pool->block);
}

// Releases the build: point array, heap and build buffers; the pool stays
// allocated but holds no nodes.
void KDTrees36s8f32_clear(obxKDTreeIndex36s8f32* tree) {
    kdFree(tree->points);
    kdFree(tree->heap);
    kdFree(tree->mean);
    kdFree(tree->var);
    kdFree(tree->sample);
    tree->points = nullptr;
    tree->heap = nullptr;
    tree->mean = tree->var = tree->sample = nullptr;
    tree->numPoints = 0;
    tree->heapCount = tree->heapCapacity = 0;
    if (tree->pool) tree->pool->count = 0;
}

// Mean and sum of squared deviations of the scaled values of the first
// points of [first, last], per dimension.
void KDTrees36s8f32_compMeanVar(obxKDTreeIndex36s8f32* tree, int32_t first, int32_t last) {
    const int32_t end = first + kSampled - 1 < last ? first + kSampled - 1 : last;
    const int32_t count = end - first + 1;
    const KDTreePoint36s8f32* points = tree->dataset->points;
    float* sample = tree->sample;
    for (int32_t k = 0; k < count; ++k)
        for (int32_t d = 0; d < kDims; ++d) sample[k * kDims + d] = scaledValue(points[tree->points[first + k]], d);
    const float inverseCount = 1.0f / static_cast<float>(count);
    for (int32_t d = 0; d < kDims; ++d) {
        float sum = 0.0f;
        for (int32_t k = 0; k < count; ++k) sum += sample[k * kDims + d];
        const float mean = sum * inverseCount;
        float squares = 0.0f;
        for (int32_t k = 0; k < count; ++k) {
            const float deviation = sample[k * kDims + d] - mean;
            squares += deviation * deviation;
        }
        tree->mean[d] = mean;
        tree->var[d] = squares;
    }
}

// One of the five dimensions of largest variance, drawn at random.
int32_t KDTrees36s8f32_selectDivision(obxKDTreeIndex36s8f32* tree) {
    int32_t top[kTopDims];
    int32_t kept = 0;
    for (int32_t d = 0; d < kDims; ++d) {
        const float v = tree->var[d];
        if (kept == kTopDims && !(v > tree->var[top[kTopDims - 1]])) continue;
        // After every entry of greater or equal variance.
        int32_t pos = kept < kTopDims ? kept : kTopDims - 1;
        while (pos > 0 && v > tree->var[top[pos - 1]]) {
            top[pos] = top[pos - 1];
            --pos;
        }
        top[pos] = d;
        if (kept < kTopDims) ++kept;
    }
    const int32_t num = kTopDims;
    const int32_t rnd = static_cast<int32_t>(num * (static_cast<double>(lrand48()) / 2147483648.0));
    OMBRIX_ASSERT(rnd >=0 && rnd < num);
    return top[rnd];
}

int32_t KDTrees36s8f32_divideTree(obxKDTreeIndex36s8f32* tree) {
    const int32_t n = tree->dataset->numPoints;
    const KDTreePoint36s8f32* points = tree->dataset->points;
    KDTreePool36s8f32* pool = tree->pool;
    // A range of m points is at most m - 1 levels deep, and every level
    // leaves at most one pending frame.
    CallStack callStack = {kdAllocArray<Frame>(size_t(n) + 1), 0, n + 1};
    if (!callStack.frames) return -1;
    int32_t root = -1;
    callStack.frames[0] = {0, n - 1, &root};
    while (callStack.top >= 0) {
        Frame& frame = callStack.frames[callStack.top];
        const int32_t index = pool->count++;
        KDTreeNode36s8f32& node = pool->block[index];
        *frame.where = index;
        const int32_t first = frame.first, last = frame.last;
        if (first == last) {
            node = {tree->points[first], 0.0f, -1, -1};
            --callStack.top;
            continue;
        }
        KDTrees36s8f32_compMeanVar(tree, first, last);
        const int32_t dim = KDTrees36s8f32_selectDivision(tree);
        const float split = tree->mean[dim];
        int32_t i = first, j = last;
        while (i <= j) {
            if (scaledValue(points[tree->points[i]], dim) < split) {
                ++i;
            } else {
                const int32_t t = tree->points[i];
                tree->points[i] = tree->points[j];
                tree->points[j] = t;
                --j;
            }
        }
        const int32_t boundary = i == first || i == last + 1 ? (first + last + 1) / 2 : i;
        node = {dim, split, -1, -1};
        frame = {boundary, last, &node.right};
        OMBRIX_ASSERT(callStack.top < callStack.maxSize - 1);
        callStack.frames[++callStack.top] = {first, boundary - 1, &node.left};
    }
    kdFree(callStack.frames);
    return 0;
}

// 0, -2 for an empty dataset, -1 when memory runs out (the tree is then
// empty).
int32_t KDTrees36s8f32_buildIndex(obxKDTreeIndex36s8f32* tree) {
    KDTrees36s8f32_clear(tree);
    const int32_t n = tree->dataset->numPoints;
    tree->heap = kdAllocArray<KDTreeBranch36s8f32>(size_t(n) + 1);
    tree->heapCapacity = tree->heap ? n + 1 : 0;
    if (n == 0) {
        KDTrees36s8f32_clear(tree);
        return -2;
    }
    tree->points = kdAllocArray<int32_t>(size_t(n));
    tree->mean = kdAllocArray<float>(kDims);
    tree->var = kdAllocArray<float>(kDims);
    tree->sample = kdAllocArray<float>(size_t{kSampleRows} * kDims);
    if (!tree->heap || !tree->points || !tree->mean || !tree->var || !tree->sample) {
        KDTrees36s8f32_clear(tree);
        return -1;
    }
    for (int32_t k = 0; k < n; ++k) tree->points[k] = k;
    for (int32_t size_Local = n; size_Local >= 1; --size_Local) {
        const int32_t rnd = static_cast<int32_t>(size_Local * (static_cast<double>(lrand48()) / 2147483648.0));
        OMBRIX_ASSERT(rnd >=0 && rnd < size_Local);
        const int32_t t = tree->points[rnd];
        tree->points[rnd] = tree->points[size_Local - 1];
        tree->points[size_Local - 1] = t;
    }
    const int32_t status = KDTrees36s8f32_divideTree(tree);
    kdFree(tree->mean);
    kdFree(tree->var);
    kdFree(tree->sample);
    tree->mean = tree->var = tree->sample = nullptr;
    if (status != 0) {
        KDTrees36s8f32_clear(tree);
        return -1;
    }
    tree->numPoints = n;
    return 0;
}

// ---- Search ----------------------------------------------------------------------

void KDTrees36s8f32_searchLevel(obxKDTreeIndex36s8f32* tree, int32_t node, float branchDist) {
    ++tree->searchCalls;
    float worst = worstDistance(tree);
    if (!(worst >= branchDist)) return;
    const KDTreeNode36s8f32* nodes = tree->pool->block;
    while (nodes[node].left != -1) {
        const KDTreeNode36s8f32& inner = nodes[node];
        const float diff = static_cast<float>(tree->query[inner.dimOrPoint]) * tree->queryInvLen - inner.value;
        const int32_t nearChild = diff < 0.0f ? inner.left : inner.right;
        const int32_t farChild = diff < 0.0f ? inner.right : inner.left;
        const float farDist = branchDist + diff * diff;
        const bool full = resultsFull(tree);
        if (!full || farDist < worst) heaplocal_insert(tree, farChild, farDist);
        node = nearChild;
        if (full) {
            worst = worstDistance(tree);
            if (!(worst >= branchDist)) return;
        }
    }
    checkLeaf(tree, nodes[node].dimOrPoint);
}

void KDTrees36s8f32_getNeighbors(obxKDTreeIndex36s8f32* tree) {
    KDTrees36s8f32_searchLevel(tree, 0, 0.0f);
    while (tree->heapCount > 0 && !(tree->checks >= tree->maxChecks && resultsFull(tree))) {
        const KDTreeBranch36s8f32 branch = heaplocal_popMin(tree);
        KDTrees36s8f32_searchLevel(tree, branch.node, branch.dist);
    }
}

}  // extern "C"

// ---- Public operations -------------------------------------------------------------

int32_t obxKDTreeCreate36s8f32C(const int8_t* vectors, const float* invLengths, int32_t numVectors,
                                obxKDTrees36s8f32** kdtrees) {
    OMBRIX_ASSERT(vectors && invLengths && (numVectors >= 0) && kdtrees);
    obxKDTrees36s8f32* handle = kdAllocArray<obxKDTrees36s8f32>(1);
    *kdtrees = handle;
    if (!handle) return 1;
    memset(handle, 0, sizeof *handle);
    obxKDTreeDataset36s8f32* dataset = kdAllocArray<obxKDTreeDataset36s8f32>(1);
    KDTreePoint36s8f32* points = kdAllocArray<KDTreePoint36s8f32>(size_t(numVectors));
    obxKDTreeIndex36s8f32* tree = kdAllocArray<obxKDTreeIndex36s8f32>(1);
    if (!dataset || !points || !tree) {
        kdFree(tree);
        kdFree(points);
        kdFree(dataset);
        kdFree(handle);
        *kdtrees = nullptr;
        return 1;
    }
    for (int32_t i = 0; i < numVectors; ++i) points[i] = {vectors + kDims * size_t(i), invLengths[i]};
    dataset->numPoints = numVectors;
    dataset->points = points;
    handle->dataset = dataset;
    handle->nodes = tree;
    KDTrees36s8f32_Init(tree, dataset);
    KDTrees36s8f32_buildIndex(tree);
    return 0;
}

int32_t obxKDTreeQuery36s8f32C(obxKDTrees36s8f32* kdtrees, const int8_t* query, float queryInvLen, int32_t maxNNs,
                               float maxDist, int32_t maxChecks, const uint8_t* mask, int32_t* numNNsFound,
                               int32_t* NNInds, float* NNDists) {
    (void)mask;
    OMBRIX_ASSERT(kdtrees && kdtrees->nodes && query && (queryInvLen >= 0.f) && (maxNNs >= 0) && (maxDist >= 0.f) && (maxChecks >= 0) && numNNsFound && NNInds && NNDists);
    obxKDTreeIndex36s8f32* tree = kdtrees->nodes;
    *numNNsFound = 0;
    if (tree->numPoints == 0) return 0;
    KDTreeResult36s8f32* newContents = kdAllocArray<KDTreeResult36s8f32>(size_t(maxNNs));
    OMBRIX_ASSERT(newContents != 0);
    tree->results = newContents;
    tree->numResults = 0;
    tree->maxNNs = maxNNs;
    tree->query = query;
    tree->queryInvLen = queryInvLen;
    tree->maxChecks = maxChecks;
    tree->heapCount = 0;
    tree->checks = 0;
    tree->searchCalls = 0;
    --tree->stamp;
    KDTrees36s8f32_getNeighbors(tree);
    int32_t found = 0;
    while (found < tree->numResults && found < maxNNs && tree->results[found].dist < maxDist) {
        NNInds[found] = tree->results[found].point;
        NNDists[found] = tree->results[found].dist;
        ++found;
    }
    *numNNsFound = found;
    kdFree(newContents);
    tree->results = nullptr;
    tree->numResults = 0;
    return 0;
}

int32_t obxKDTreeDestroy36s8f32C(obxKDTrees36s8f32* kdtrees) {
    OMBRIX_ASSERT(kdtrees);
    obxKDTreeIndex36s8f32* tree = kdtrees->nodes;
    if (tree) {
        KDTrees36s8f32_clear(tree);
        if (tree->pool) kdFree(tree->pool->block);
        kdFree(tree->pool);
        kdFree(tree);
    }
    if (kdtrees->dataset) kdFree(kdtrees->dataset->points);
    kdFree(kdtrees->dataset);
    kdFree(kdtrees);
    return 0;
}
