#pragma once

#include "message/AtlException.h"
#include "message/Platform.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <type_traits>

/// Owns a BSTR until it is released into a record.
struct BStrFree
{
    void operator()(OLECHAR* text) const { SysFreeString(text); }
};
using CBStrOwner = std::unique_ptr<OLECHAR, BStrFree>;

/// Owns a CoTaskMem block until it is released into a record. What pointers in the block name is not freed with it.
struct TaskMemFree
{
    void operator()(void* block) const { CoTaskMemFree(block); }
};
template <typename Record>
using CTaskMemOwner = std::unique_ptr<Record, TaskMemFree>;

/// Frees a CoTaskMem block that owns nothing else.
inline void FreeBlock(void* block)
{
    CoTaskMemFree(block);
}

/// A zeroed CoTaskMem block of `count` records. Throws CAtlException (E_OUTOFMEMORY).
template <typename Record>
CTaskMemOwner<Record> AllocateRecords(std::size_t count = 1)
{
    static_assert(std::is_trivial_v<Record>);
    const std::size_t size = count * sizeof(Record);
    void* block = CoTaskMemAlloc(size);
    if (block == nullptr)
        throw CAtlException(E_OUTOFMEMORY);
    std::memset(block, 0, size);
    return CTaskMemOwner<Record>(static_cast<Record*>(block));
}

/// Puts a text or a block into a record in the place of an earlier one, which is freed.
inline void Replace(BSTR& text, BSTR newText)
{
    SysFreeString(text);
    text = newText;
}
inline void Replace(std::uint8_t*& block, std::uint8_t* newBlock)
{
    CoTaskMemFree(block);
    block = newBlock;
}
