// Moving items between lists, hash tables and trees.
#include <tarvolk/convert.h>

#include <tarvolk/retcode.h>

namespace {

// One conversion: where made items go, and how they are made.
struct Conversion {
    void *target;
    void (*put)(void *target, void *item);
    NConvertFunc convert;
    void *arg1;
    void *arg2;
};

void put_tree(void *target, void *item)
{
    // An equal item already there keeps its place; the new one stays out.
    (void)NTreeInsert(static_cast<NTree *>(target), item);
}

void put_hash(void *target, void *item)
{
    NHashInsert(static_cast<NHash *>(target), item);
}

void put_list(void *target, void *item)
{
    auto *list = static_cast<NList *>(target);
    NListInsertAfter(list, item, NListTail(list));
}

void convert_item(void *item, void *arg)
{
    const auto *conversion = static_cast<const Conversion *>(arg);
    void *made = conversion->convert(item, conversion->arg1, conversion->arg2);
    if (made != nullptr)
        conversion->put(conversion->target, made);
}

int convert_walked_item(void *item, void *arg)
{
    convert_item(item, arg);
    return 0;
}

void from_tree(NTree *source, Conversion conversion)
{
    if (source == nullptr || conversion.target == nullptr || conversion.convert == nullptr)
        return;
    NTreeTraverse(source, NTREE_INORDER, convert_item, &conversion);
}

void from_list(NList *source, Conversion conversion)
{
    if (source == nullptr || conversion.target == nullptr || conversion.convert == nullptr)
        return;
    for (void *item = NListFirst(source); item != nullptr; item = NListNext(item))
        convert_item(item, &conversion);
}

NRC from_hash(NHash *source, Conversion conversion)
{
    if (source == nullptr || conversion.target == nullptr || conversion.convert == nullptr)
        return NRC_FAILURE;
    return NHashWalk(source, convert_walked_item, &conversion, 0, nullptr);
}

} // namespace

extern "C" {

void NTreeToNTree(NTree *source, NTree *target, NConvertFunc convert, void *arg1, void *arg2)
{
    from_tree(source, {target, put_tree, convert, arg1, arg2});
}

void NTreeToNHash(NTree *source, NHash *target, NConvertFunc convert, void *arg1, void *arg2)
{
    from_tree(source, {target, put_hash, convert, arg1, arg2});
}

void NTreeToNList(NTree *source, NList *target, NConvertFunc convert, void *arg1, void *arg2)
{
    from_tree(source, {target, put_list, convert, arg1, arg2});
}

void NListToNTree(NList *source, NTree *target, NConvertFunc convert, void *arg1, void *arg2)
{
    from_list(source, {target, put_tree, convert, arg1, arg2});
}

void NListToNHash(NList *source, NHash *target, NConvertFunc convert, void *arg1, void *arg2)
{
    from_list(source, {target, put_hash, convert, arg1, arg2});
}

void NListToNList(NList *source, NList *target, NConvertFunc convert, void *arg1, void *arg2)
{
    from_list(source, {target, put_list, convert, arg1, arg2});
}

NRC NHashToNTree(NHash *source, NTree *target, NConvertFunc convert, void *arg1, void *arg2)
{
    return from_hash(source, {target, put_tree, convert, arg1, arg2});
}

NRC NHashToNHash(NHash *source, NHash *target, NConvertFunc convert, void *arg1, void *arg2)
{
    return from_hash(source, {target, put_hash, convert, arg1, arg2});
}

NRC NHashToNList(NHash *source, NList *target, NConvertFunc convert, void *arg1, void *arg2)
{
    return from_hash(source, {target, put_list, convert, arg1, arg2});
}

} // extern "C"
