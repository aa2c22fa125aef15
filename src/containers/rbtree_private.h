// Layout of the red-black tree header, shared with its tests.
#pragma once

#include <tarvolk/rbtree.h>

struct NRBTree {
    NCompareFunc compare;
    void *compare_arg;
    NRBTreeNode *root;
};
