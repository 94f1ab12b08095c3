#pragma once

#include "zelapi/provisioning.h"
#include "zelapi/radio.h"

#include <cstddef>

// Free what a request has filled in, and empty the record.

inline void FreeReceived(ProvisioningList& list)
{
    for (std::size_t i = 0; i < list.count; ++i)
    {
        const ProvisioningSet& set = list.sets[i];
        if (set.access != nullptr)
        {
            CoTaskMemFree(set.access->block_a);
            CoTaskMemFree(set.access->block_c);
            SysFreeString(set.name->name);
        }
        CoTaskMemFree(set.access);
        CoTaskMemFree(set.name);
        CoTaskMemFree(set.content);
    }
    CoTaskMemFree(list.sets);
    list = {};
}

inline void FreeReceived(RadioList& list)
{
    for (std::size_t i = 0; i < list.count; ++i)
    {
        SysFreeString(list.items[i].name);
        CoTaskMemFree(list.items[i].data);
    }
    CoTaskMemFree(list.items);
    list = {};
}
