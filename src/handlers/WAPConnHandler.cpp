#include "handlers/WAPConnHandler.h"

#include "handlers/base/Owners.h"

namespace
{

/// Each request has a reply, and another one that tells a status.
enum MessageId : std::uint8_t
{
    kByteRequest = 0,
    kByteReply = 1,
    kByteRefusal = 2,
    kCommandRequest = 3,
    kCommandReply = 4,
    kCommandRefusal = 5,
    kReadRequest = 6,
    kReadReply = 7,
    kReadRefusal = 8,
    kWriteRequest = 9,
    kWriteReply = 10,
    kWriteRefusal = 11,
    kConnectionCommandRequest = 12,
    kConnectionCommandReply = 13,
    kConnectionCommandRefusal = 14,
};

constexpr std::uint16_t kNewConnection = 0xFFFF;

/// The connection that the caller's record points to. Throws ZEL_E_ARGUMENT if it is null or unreadable.
WapConnection& ConnectionOf(const WapRequest& record)
{
    if (!IsReadable(record.connection))
        ThrowCode(ZEL_E_ARGUMENT);
    return *record.connection;
}

void FillConnection(CMessage& reply, WapConnection& connection)
{
    const std::uint16_t identifier = reply.ReadWord();
    const bool flag = reply.ReadByte() != 0;
    CBStrOwner firstText(reply.ReadString(reply.ReadByte()));
    reply.Skip(1);
    CBStrOwner secondText(reply.ReadString(reply.ReadByte()));
    connection.identifier = identifier;
    connection.value = reply.ReadByte();
    connection.flag = flag ? 1 : 0;
    connection.first_text = firstText.release();
    connection.second_text = secondText.release();
}

/// Appends a text's length, the text as far as it may go, and a zero byte. The length is that of the whole text.
void AppendText(CMessage& message, BSTR text, std::int32_t longest)
{
    const UINT length = IsReadable(text) ? SysStringLen(text) : 0;
    message.AppendByte(static_cast<std::uint8_t>(length));
    message.AppendStringN(text, static_cast<std::int32_t>(length), longest, false);
    message.AppendByte(0);
}

void AppendConnection(CMessage& message, const WapConnection& connection)
{
    message.AppendWord(connection.identifier == 0 ? kNewConnection : connection.identifier);
    message.AppendByte(connection.flag != 0 ? 1 : 0);
    AppendText(message, connection.first_text, ZEL_WAP_FIRST_TEXT_LENGTH);
    AppendText(message, connection.second_text, ZEL_WAP_SECOND_TEXT_LENGTH);
    // The phone wants as many zeros as the body is longer than a multiple of 4, not those that are missing to one.
    const std::uint8_t zeros[3] = {};
    message.AppendBytes(message.GetSize() % 4, zeros);
}

}  // namespace

std::uint32_t CWAPConnHandler::EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record)
{
    return ResultOf([&]() -> std::uint32_t {
        switch (messageId)
        {
        case ZEL_WAP_READ_BYTE:
            return ReadByte(sender, RecordOf<WapRequest>(record));
        case ZEL_WAP_COMMAND:
            return Command(sender);
        case ZEL_WAP_READ_CONNECTION:
            return ReadConnection(sender, RecordOf<WapRequest>(record));
        case ZEL_WAP_WRITE_CONNECTION:
            return WriteConnection(sender, RecordOf<WapRequest>(record));
        case ZEL_WAP_CONNECTION_COMMAND:
            return ConnectionCommand(sender, RecordOf<WapRequest>(record));
        default:
            return ZEL_NOT_HANDLED;
        }
    });
}

std::uint32_t CWAPConnHandler::Ask(CDataSender& sender, CMessage& message, std::uint8_t refusal,
                                   std::uint32_t sendFailure) const
{
    if (sender.Send(message, kReplyMs) != ZEL_OK)
        return sendFailure;
    return message.GetMessageId() == refusal ? StatusResult(message.ReadByte()) : ZEL_OK;
}

std::uint32_t CWAPConnHandler::ReadByte(CDataSender& sender, WapRequest& record) const
{
    CMessage message = Request(kByteRequest, {kByteReply, kByteRefusal});
    message.AppendByte(static_cast<std::uint8_t>(record.key));
    if (sender.Send(message, kReplyMs) != ZEL_OK)
        return ZEL_E_FAIL;
    const std::uint8_t reply = message.GetMessageId();
    if (reply != kByteReply && reply != kByteRefusal)
        return ZEL_OK;
    record.result = message.ReadByte();
    return reply == kByteRefusal ? StatusResult(message.ReadByte()) : ZEL_OK;
}

std::uint32_t CWAPConnHandler::Command(CDataSender& sender) const
{
    CMessage message = Request(kCommandRequest, {kCommandReply, kCommandRefusal});
    return Ask(sender, message, kCommandRefusal, ZEL_E_FAIL);
}

std::uint32_t CWAPConnHandler::ReadConnection(CDataSender& sender, const WapRequest& record) const
{
    WapConnection& connection = ConnectionOf(record);
    CMessage message = Request(kReadRequest, {kReadReply, kReadRefusal});
    message.AppendWord(record.key);
    std::uint32_t result = 0;
    if (Exchange(sender, message, kReadReply, result))
        FillConnection(message, connection);
    else if (result == ZEL_OK && message.GetMessageId() == kReadRefusal)
        result = StatusResult(message.ReadByte());
    return result;
}

std::uint32_t CWAPConnHandler::WriteConnection(CDataSender& sender, WapRequest& record) const
{
    WapConnection& connection = ConnectionOf(record);
    CMessage message = Request(kWriteRequest, {kWriteReply, kWriteRefusal});
    AppendConnection(message, connection);
    const std::uint32_t result = Ask(sender, message, kWriteRefusal, ZEL_NOT_SUPPORTED);
    if (result == ZEL_OK && message.GetMessageId() == kWriteReply)
    {
        record.key = message.ReadWord();
        connection.identifier = message.ReadWord();
    }
    return result;
}

std::uint32_t CWAPConnHandler::ConnectionCommand(CDataSender& sender, const WapRequest& record) const
{
    CMessage message = Request(kConnectionCommandRequest, {kConnectionCommandReply, kConnectionCommandRefusal});
    message.AppendWord(record.key);
    return Ask(sender, message, kConnectionCommandRefusal, ZEL_NOT_SUPPORTED);
}
