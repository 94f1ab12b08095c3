#pragma once

#include "fuzz/FuzzChecks.h"
#include "zelapi/provisioning.h"
#include "zelapi/radio.h"

#include <cstddef>

// Read and free what a request has filled in, and empty the record.

inline void FreeReceived(ProvisioningList& list)
{
    for (std::size_t i = 0; i < list.count; ++i)
    {
        const ProvisioningSet& set = list.sets[i];
        if (set.access != nullptr)
        {
            TakeBlock(set.access->block_a, set.access->length_a);
            TakeBlock(set.access->block_c, set.access->length_c);
            TakeText(set.name->name);
        }
        CoTaskMemFree(set.access);
        CoTaskMemFree(set.name);
        TakeBlock(set.content, set.content_size);
    }
    CoTaskMemFree(list.sets);
    list = {};
}

inline void FreeReceived(RadioList& list)
{
    for (std::size_t i = 0; i < list.count; ++i)
    {
        TakeText(list.items[i].name);
        TakeBlock(list.items[i].data, list.items[i].data_length);
    }
    CoTaskMemFree(list.items);
    list = {};
}
