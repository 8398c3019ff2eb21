// The KD-tree's records, shared by its module and the tests that inspect a
// built tree.
#ifndef OMBRIX_KDTREE36S8F32_H
#define OMBRIX_KDTREE36S8F32_H

#include "ombrix.h"

extern "C" {

// One point of the dataset: its 36 values (the caller's) and inverse length.
struct KDTreePoint36s8f32 {
    const int8_t* vec;
    float invLength;
};

struct obxKDTreeDataset36s8f32 {
    int32_t numPoints;
    KDTreePoint36s8f32* points;
};

// 16 bytes. Inner node: split dimension, split value, children's indices in
// the pool. Leaf: point index in the first field, -1 for both children.
struct KDTreeNode36s8f32 {
    int32_t dimOrPoint;
    float value;
    int32_t left, right;
};

// Nodes in build order, node 0 the root; room for 2n.
struct KDTreePool36s8f32 {
    int32_t count;
    KDTreeNode36s8f32* block;
};

// An unexplored branch: its node and a lower estimate of its distance.
struct KDTreeBranch36s8f32 {
    int32_t node;
    float dist;
};

struct KDTreeResult36s8f32 {
    int32_t point;
    float dist;
};

struct obxKDTreeIndex36s8f32 {
    const obxKDTreeDataset36s8f32* dataset;
    KDTreePool36s8f32* pool;
    // The build's permutation of point indices; afterwards, per point, the
    // stamp of the last query that compared it.
    int32_t* points;
    int32_t numPoints;  // of the built tree; 0 when empty
    int32_t stamp;
    // 1-based min-heap of branches, capacity n + 1 entries.
    KDTreeBranch36s8f32* heap;
    int32_t heapCount, heapCapacity;
    // Build buffers: mean and variance per dimension, sampled scaled values.
    float *mean, *var, *sample;
    // The running query.
    const int8_t* query;
    float queryInvLen;
    KDTreeResult36s8f32* results;
    int32_t numResults, maxNNs;
    int32_t checks, maxChecks;
    int32_t searchCalls;
    float bound;  // worst distance while the result list is not full
};

void KDTrees36s8f32_Init(obxKDTreeIndex36s8f32* KDTrees36s8f32_tree, const obxKDTreeDataset36s8f32* dataset);
int32_t KDTrees36s8f32_buildIndex(obxKDTreeIndex36s8f32* tree);
int32_t KDTrees36s8f32_divideTree(obxKDTreeIndex36s8f32* tree);
void KDTrees36s8f32_compMeanVar(obxKDTreeIndex36s8f32* tree, int32_t first, int32_t last);
int32_t KDTrees36s8f32_selectDivision(obxKDTreeIndex36s8f32* tree);
void KDTrees36s8f32_searchLevel(obxKDTreeIndex36s8f32* tree, int32_t node, float branchDist);
void KDTrees36s8f32_getNeighbors(obxKDTreeIndex36s8f32* tree);
void KDTrees36s8f32_clear(obxKDTreeIndex36s8f32* tree);
void heaplocal_insert(obxKDTreeIndex36s8f32* tree, int32_t node, float dist);
void heaplocal_heapify(obxKDTreeIndex36s8f32* tree, int32_t position);
KDTreeBranch36s8f32 heaplocal_popMin(obxKDTreeIndex36s8f32* tree);

}  // extern "C"

#endif  // OMBRIX_KDTREE36S8F32_H
