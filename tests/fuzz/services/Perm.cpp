#include "fuzz/FuzzService.h"
#include "handlers/PermHandler.h"
#include "zelapi/permissions.h"

namespace
{

/// Reads a block and frees it.
void Read(CFuzzCase& fuzz)
{
    PermissionRecord record = {0, fuzz.Word(), fuzz.Word(), 0, nullptr};
    const std::uint32_t result = fuzz.Request(&record);
    Require((record.chunks == nullptr) == (record.count == 0), "an array comes with its count");
    Require(result == ZEL_OK || record.count == 0, "a failed read gives nothing");
    std::uint32_t offset = 0;
    for (std::uint32_t i = 0; i < record.count; ++i)
    {
        const PermissionChunk& chunk = record.chunks[i];
        Require(chunk.offset == offset, "an offset is the sum of the lengths before");
        Require((chunk.bytes == nullptr) == (chunk.length == 0), "bytes come with their length");
        TakeBlock(chunk.bytes, chunk.length);
        offset += chunk.length;
    }
    CoTaskMemFree(record.chunks);
}

void Write(CFuzzCase& fuzz)
{
    const std::uint16_t key = fuzz.Word();
    std::vector<std::vector<std::uint8_t>> blocks(fuzz.Byte() % 8);
    std::vector<PermissionChunk> chunks;
    for (auto& block : blocks)
    {
        block = fuzz.Block(fuzz.Byte());
        chunks.push_back({0, 0, static_cast<std::uint32_t>(block.size()), block.data()});
    }
    PermissionRecord record = {0, key, 0, static_cast<std::uint32_t>(chunks.size()), chunks.data()};
    fuzz.Request(&record);
}

const CFuzzService g_permissions(0x23, NewHandler<CPermHandler>, {Write, Read, Write});

}  // namespace
