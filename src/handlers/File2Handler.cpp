#include "handlers/File2Handler.h"

namespace
{

enum MessageId : std::uint8_t
{
    kIdRequest = 0x82,
    kIdReply = 0x83,
    kNameRequest = 0x84,
    kNameReply = 0x85,
};

}  // namespace

std::uint32_t CFile2Handler::EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record)
{
    return ResultOf([&]() -> std::uint32_t {
        switch (messageId)
        {
        case ZEL_FILE_NAME_OF_ID:
            return NameOfId(sender, RecordOf<FileLookupRecord>(record));
        case ZEL_FILE_ID_OF_NAME:
            return IdOfName(sender, RecordOf<FileLookupRecord>(record));
        default:
            return ZEL_NOT_HANDLED;
        }
    });
}

std::uint32_t CFile2Handler::NameOfId(CDataSender& sender, FileLookupRecord& record) const
{
    CMessage message = Request(kNameRequest);
    message.AppendWord(0);
    message.AppendDword(record.file_id);

    std::uint32_t result = 0;
    if (!Exchange(sender, message, kNameReply, result))
        return result;
    if (const std::uint8_t status = message.ReadByte(); status != 0)
        return StatusResult(status);
    message.Skip(1);
    if (const std::uint16_t length = message.ReadWord(); length != 0)
        record.name = message.ReadString(length);
    return ZEL_OK;
}

std::uint32_t CFile2Handler::IdOfName(CDataSender& sender, FileLookupRecord& record) const
{
    if (!IsReadable(record.name))
        return ZEL_E_ARGUMENT;
    CMessage message = Request(kIdRequest);
    message.AppendWord(static_cast<std::uint16_t>(SysStringLen(record.name)));
    message.AppendString(record.name, true);

    std::uint32_t result = 0;
    if (!Exchange(sender, message, kIdReply, result))
        return result;
    if (const std::uint8_t status = message.ReadByte(); status != 0)
        return StatusResult(status);
    message.Skip(1);
    record.found_id = message.ReadDword();
    return ZEL_OK;
}
