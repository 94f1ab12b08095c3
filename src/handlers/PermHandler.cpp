#include "handlers/PermHandler.h"

#include "handlers/base/Blocks.h"
#include "handlers/base/CallersData.h"
#include "handlers/base/RecordArray.h"
#include "zelapi/permissions.h"

#include <algorithm>

namespace
{

void ReadSize(CConversation& phone, PermissionRecord& record);
void ReadChunks(CConversation& phone, PermissionRecord& record);
void WriteChunks(CConversation& phone, const PermissionRecord& record);
void ReadSecondSize(CConversation& phone, PermissionRecord& record);

constexpr Operation kOperations[] = {
    {ZEL_PERMISSIONS_SIZE, Serve<ReadSize>},
    {ZEL_PERMISSIONS_READ, Serve<ReadChunks>},
    {ZEL_PERMISSIONS_WRITE, Serve<WriteChunks>},
    {ZEL_PERMISSIONS_SECOND_SIZE, Serve<ReadSecondSize>},
};

/// How most requests begin.
CMessage KeyedRequest(const CConversation& phone, const Exchange& exchange, std::uint16_t key)
{
    CMessage message = phone.Request(exchange);
    message.AppendWord(key);
    message.AppendWord(0);
    message.AppendBytes({0, 0});
    return message;
}

/// Reads the one sub-block of a reply. Leaves with ZEL_E_FAIL where there are more or fewer, or it has another id.
void RequireBlock(CMessage& message, CSubBlock& block, std::uint16_t id)
{
    if (message.ReadByte() != 1 || !block.ReadFrom(&message) || block.GetId() != id)
        ThrowCode(ZEL_E_FAIL);
}

void AskForSize(const CConversation& phone, CMessage& message, const Exchange& exchange, PermissionRecord& record)
{
    constexpr std::uint16_t kSize = 6;

    phone.Ask(message, exchange);
    phone.RequireStatus(message);
    CSubBlock block = NewBlock(kShortBlock);
    RequireBlock(message, block, kSize);
    block.Skip(2);
    record.size = block.ReadDword();
}

constexpr Exchange kReadSize = {.request = 12, .reply = 13, .answers = {13}};

void ReadSize(CConversation& phone, PermissionRecord& record)
{
    CMessage message = KeyedRequest(phone, kReadSize, record.key);
    AskForSize(phone, message, kReadSize, record);
}

constexpr Exchange kReadSecondSize = {.request = 16, .reply = 17, .answers = {17}};

void ReadSecondSize(CConversation& phone, PermissionRecord& record)
{
    CMessage message = phone.Request(kReadSecondSize);
    message.AppendWord(record.key);
    AskForSize(phone, message, kReadSecondSize, record);
}

constexpr Exchange kReadChunk = {.request = 4, .reply = 5, .answers = {5}};

/// More than this no sub-block holds, so a phone that announces more does not get the memory for it.
constexpr std::uint32_t kLongestChunk = 0xFFFF;

void ReadChunk(const CConversation& phone, CMessage& message, PermissionChunk& chunk)
{
    constexpr std::uint16_t kData = 0;

    phone.Ask(message, kReadChunk);
    phone.RequireStatus(message);
    CSubBlock block = NewBlock(kLongBlock);
    RequireBlock(message, block, kData);
    const std::uint32_t length = block.ReadDword();
    if (length > kLongestChunk)
        ThrowCode(ZEL_E_FAIL);
    chunk.bytes = block.ReadBytes(length);
    chunk.length = length;
}

/// The result of a chunk. What is no result, as missing memory, ends the whole reading.
std::uint32_t ResultOfChunk(const CConversation& phone, CMessage& message, PermissionChunk& chunk)
{
    try
    {
        ReadChunk(phone, message, chunk);
        return ZEL_OK;
    }
    catch (std::uint32_t result)
    {
        return result;
    }
}

void FreeBytes(const PermissionChunk& chunk)
{
    CoTaskMemFree(chunk.bytes);
}

void ReadChunks(CConversation& phone, PermissionRecord& record)
{
    if (record.size == 0)
        ThrowCode(ZEL_E_ARGUMENT);
    record.count = 0;
    record.chunks = nullptr;

    const std::uint32_t count = (record.size - 1) / ZEL_PERMISSIONS_CHUNK_LENGTH + 1;
    CRecordArray<PermissionChunk, &FreeBytes> chunks(count);
    std::uint32_t result = ZEL_OK;
    std::uint32_t offset = 0;
    std::uint32_t remaining = record.size;
    for (PermissionChunk& chunk : chunks)
    {
        const std::uint32_t asked = std::min(remaining, ZEL_PERMISSIONS_CHUNK_LENGTH);
        CMessage message = KeyedRequest(phone, kReadChunk, record.key);
        message.AppendDword(offset);
        message.AppendDword(asked);
        chunk.offset = offset;
        // A chunk that fails leaves a gap; only the last one decides.
        result = ResultOfChunk(phone, message, chunk);
        offset += chunk.length;
        remaining -= asked;
    }
    if (result != ZEL_OK)
        ThrowCode(result);
    record.chunks = chunks.Release();
    record.count = count;
}

constexpr Exchange kWriteChunk = {.request = 2, .reply = 3, .answers = {3}};

void WriteChunk(const CConversation& phone, std::uint16_t key, const PermissionChunk& chunk)
{
    CMessage message = KeyedRequest(phone, kWriteChunk, key);
    message.AppendDword(chunk.length);
    message.AppendBytes(chunk.length, chunk.bytes);
    phone.Send(message, kWriteChunk);
    // Another message does not end the writing.
    if (message.GetMessageId() == kWriteChunk.reply)
        phone.RequireStatus(message);
}

void WriteChunks(CConversation& phone, const PermissionRecord& record)
{
    const auto chunks = ElementsOf(record.chunks, record.count);
    if (chunks.empty())
        ThrowCode(ZEL_E_ARGUMENT);
    // All chunks are looked at before the first is sent: a bad one changes nothing in the phone.
    for (const PermissionChunk& chunk : chunks)
        ElementsOf(chunk.bytes, chunk.length);
    for (const PermissionChunk& chunk : chunks)
        WriteChunk(phone, record.key, chunk);
}

}  // namespace

CPermHandler::CPermHandler() : CContentHandler(kOperations) {}
