#include "handlers/PermHandler.h"

#include "handlers/base/Blocks.h"
#include "handlers/base/RecordArray.h"

#include <algorithm>

namespace
{

enum MessageId : std::uint8_t
{
    kWriteRequest = 2,
    kWriteReply = 3,
    kReadRequest = 4,
    kReadReply = 5,
    kSizeRequest = 12,
    kSizeReply = 13,
    kSecondSizeRequest = 16,
    kSecondSizeReply = 17,
};

enum SubBlockId : std::uint16_t
{
    kChunk = 0,
    kSize = 6,
};

/// More than this no sub-block holds, so a phone that announces more does not get the memory for it.
constexpr std::uint32_t kLongestChunk = 0xFFFF;

void FreeBytes(const PermissionChunk& chunk)
{
    CoTaskMemFree(chunk.bytes);
}
using CChunkArray = CRecordArray<PermissionChunk, FreeBytes>;

/// How most requests begin.
void AppendBlockKey(CMessage& message, std::uint16_t key)
{
    message.AppendWord(key);
    message.AppendWord(0);
    message.AppendByte(0);
    message.AppendByte(0);
}

/// Reads the count of a reply, which must be 1, and its sub-block, which must have this id.
bool ReadOnlyBlock(CMessage& message, CSubBlock& block, std::uint16_t id)
{
    return message.ReadByte() == 1 && block.ReadFrom(&message) && block.GetId() == id;
}

}  // namespace

std::uint32_t CPermHandler::EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record)
{
    return ResultOf([&]() -> std::uint32_t {
        switch (messageId)
        {
        case ZEL_PERMISSIONS_SIZE:
            return Size(sender, RecordOf<PermissionRecord>(record));
        case ZEL_PERMISSIONS_READ:
            return Read(sender, RecordOf<PermissionRecord>(record));
        case ZEL_PERMISSIONS_WRITE:
            return Write(sender, RecordOf<PermissionRecord>(record));
        case ZEL_PERMISSIONS_SECOND_SIZE:
            return SecondSize(sender, RecordOf<PermissionRecord>(record));
        default:
            return ZEL_NOT_HANDLED;
        }
    });
}

void CPermHandler::Restart(CMessage& message, std::uint8_t requestId, std::uint16_t key) const
{
    message.Clear();
    message.SetResource(GetResource());
    message.SetMessageId(requestId);
    AppendBlockKey(message, key);
}

std::uint32_t CPermHandler::Size(CDataSender& sender, PermissionRecord& record) const
{
    CMessage message = Request(kSizeRequest, {kSizeReply});
    AppendBlockKey(message, record.key);
    return AskSize(sender, message, kSizeReply, record);
}

std::uint32_t CPermHandler::SecondSize(CDataSender& sender, PermissionRecord& record) const
{
    CMessage message = Request(kSecondSizeRequest, {kSecondSizeReply});
    message.AppendWord(record.key);
    return AskSize(sender, message, kSecondSizeReply, record);
}

std::uint32_t CPermHandler::AskSize(CDataSender& sender, CMessage& message, std::uint8_t replyId,
                                    PermissionRecord& record) const
{
    std::uint32_t result = 0;
    if (!Exchange(sender, message, replyId, result))
        return result;
    if (const std::uint8_t status = message.ReadByte(); status != 0)
        return StatusResult(status);
    CSubBlock block = NewBlock(kShortBlock);
    if (!ReadOnlyBlock(message, block, kSize))
        return ZEL_E_FAIL;
    block.Skip(2);
    record.size = block.ReadDword();
    return ZEL_OK;
}

std::uint32_t CPermHandler::Read(CDataSender& sender, PermissionRecord& record) const
{
    if (record.size == 0)
        return ZEL_E_ARGUMENT;
    record.count = 0;
    record.chunks = nullptr;

    const std::uint32_t count = (record.size - 1) / ZEL_PERMISSIONS_CHUNK_LENGTH + 1;
    CChunkArray chunks(count);
    CMessage message = Request(kReadRequest, {kReadReply});
    std::uint32_t result = ZEL_OK;
    std::uint32_t offset = 0;
    std::uint32_t remaining = record.size;
    for (std::uint32_t i = 0; i < count; ++i)
    {
        Restart(message, kReadRequest, record.key);
        message.AppendDword(offset);
        message.AppendDword(std::min(remaining, ZEL_PERMISSIONS_CHUNK_LENGTH));
        chunks[i].offset = offset;
        // A chunk that fails leaves a gap; only the last one decides.
        result = ReadChunk(sender, message, chunks[i]);
        offset += chunks[i].length;
        remaining -= std::min(remaining, ZEL_PERMISSIONS_CHUNK_LENGTH);
    }
    if (result != ZEL_OK)
        return result;
    record.chunks = chunks.Release();
    record.count = count;
    return ZEL_OK;
}

std::uint32_t CPermHandler::ReadChunk(CDataSender& sender, CMessage& message, PermissionChunk& chunk) const
{
    std::uint32_t result = 0;
    if (!Exchange(sender, message, kReadReply, result))
        return result;
    if (const std::uint8_t status = message.ReadByte(); status != 0)
        return StatusResult(status);
    CSubBlock block = NewBlock(kLongBlock);
    if (!ReadOnlyBlock(message, block, kChunk))
        return ZEL_E_FAIL;
    const std::uint32_t length = block.ReadDword();
    if (length > kLongestChunk)
        return ZEL_E_FAIL;
    chunk.bytes = block.ReadBytes(length);
    chunk.length = length;
    return ZEL_OK;
}

std::uint32_t CPermHandler::Write(CDataSender& sender, const PermissionRecord& record) const
{
    if (record.count == 0 || !IsReadable(record.chunks))
        return ZEL_E_ARGUMENT;
    CMessage message = Request(kWriteRequest, {kWriteReply});
    std::uint32_t result = ZEL_OK;
    for (std::uint32_t i = 0; i < record.count && result == ZEL_OK; ++i)
    {
        Restart(message, kWriteRequest, record.key);
        result = WriteChunk(sender, message, record.chunks[i]);
    }
    return result;
}

std::uint32_t CPermHandler::WriteChunk(CDataSender& sender, CMessage& message, const PermissionChunk& chunk) const
{
    if (chunk.length != 0 && !IsReadable(chunk.bytes))
        return ZEL_E_FAIL;
    message.AppendDword(chunk.length);
    message.AppendBytes(chunk.length, chunk.bytes);
    std::uint32_t result = 0;
    return Exchange(sender, message, kWriteReply, result) ? StatusResult(message.ReadByte()) : result;
}
