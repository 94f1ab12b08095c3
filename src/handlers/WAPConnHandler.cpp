#include "handlers/WAPConnHandler.h"

#include "handlers/base/CallersData.h"
#include "zelapi/wap.h"

#include <algorithm>

namespace
{

void ReadByte(CConversation& phone, WapRequest& record);
void SendCommand(CConversation& phone);
void ReadConnection(CConversation& phone, const WapRequest& record);
void WriteConnection(CConversation& phone, WapRequest& record);
void SendConnectionCommand(CConversation& phone, const WapRequest& record);

constexpr Operation kOperations[] = {
    {ZEL_WAP_READ_BYTE, Serve<ReadByte>},
    {ZEL_WAP_COMMAND, Serve<SendCommand>},
    {ZEL_WAP_READ_CONNECTION, Serve<ReadConnection>},
    {ZEL_WAP_WRITE_CONNECTION, Serve<WriteConnection>},
    {ZEL_WAP_CONNECTION_COMMAND, Serve<SendConnectionCommand>},
};

// Each request has a reply, and another message, the refusal, that tells a status.

template <std::uint8_t Refusal>
std::uint32_t StatusOfRefusal(CMessage& message)
{
    return message.GetMessageId() == Refusal ? StatusResult(message, message.ReadByte()) : ZEL_OK;
}

constexpr std::uint8_t kByteRefusal = 2;
constexpr Exchange kReadByte = {.request = 0, .reply = 1, .answers = {1, kByteRefusal}, .sendFailure = ZEL_E_FAIL};

void ReadByte(CConversation& phone, WapRequest& record)
{
    CMessage message = phone.Request(kReadByte);
    message.AppendByte(static_cast<std::uint8_t>(record.key));

    // The refusal brings the byte too.
    phone.Send(message, kReadByte);
    const bool isRefusal = message.GetMessageId() == kByteRefusal;
    if (!isRefusal && message.GetMessageId() != kReadByte.reply)
        return;
    record.result = message.ReadByte();
    if (isRefusal)
        phone.RequireStatus(message);
}

constexpr Exchange kCommand = {
    .request = 3, .reply = 4, .answers = {4, 5}, .other = StatusOfRefusal<5>, .sendFailure = ZEL_E_FAIL};

void SendCommand(CConversation& phone)
{
    CMessage message = phone.Request(kCommand);
    phone.Ask(message, kCommand);
}

constexpr Exchange kReadConnection = {.request = 6, .reply = 7, .answers = {7, 8}, .other = StatusOfRefusal<8>};

void ReadConnection(CConversation& phone, const WapRequest& record)
{
    WapConnection& connection = Required(record.connection);
    CMessage message = phone.Request(kReadConnection);
    message.AppendWord(record.key);

    phone.Ask(message, kReadConnection);
    const std::uint16_t identifier = message.ReadWord();
    const bool flag = message.ReadByte() != 0;
    CBStrOwner firstText(message.ReadString(message.ReadByte()));
    message.Skip(1);
    CBStrOwner secondText(message.ReadString(message.ReadByte()));
    connection.identifier = identifier;
    connection.value = message.ReadByte();
    connection.flag = flag ? 1 : 0;
    connection.first_text = firstText.release();
    connection.second_text = secondText.release();
}

/// Appends a text's length, the text as far as it may go, and a zero byte. The length is that of the whole text.
void AppendCutText(CMessage& message, CTextView text, std::size_t longest)
{
    message.AppendByte(static_cast<std::uint8_t>(text.size()));
    AppendText(message, text.substr(0, longest));
    message.AppendByte(0);
}

constexpr std::uint16_t kNewConnection = 0xFFFF;
constexpr Exchange kWriteConnection = {
    .request = 9, .reply = 10, .answers = {10, 11}, .other = StatusOfRefusal<11>, .sendFailure = ZEL_NOT_SUPPORTED};

void WriteConnection(CConversation& phone, WapRequest& record)
{
    WapConnection& connection = Required(record.connection);
    CMessage message = phone.Request(kWriteConnection);
    message.AppendWord(connection.identifier == 0 ? kNewConnection : connection.identifier);
    message.AppendByte(connection.flag != 0 ? 1 : 0);
    AppendCutText(message, TextOf(connection.first_text), ZEL_WAP_FIRST_TEXT_LENGTH);
    AppendCutText(message, TextOf(connection.second_text), ZEL_WAP_SECOND_TEXT_LENGTH);
    // The phone wants as many zeros as the body is longer than a multiple of 4, not those that are missing to one.
    const std::uint8_t zeros[3] = {};
    message.AppendBytes(message.GetSize() % 4, zeros);

    phone.Ask(message, kWriteConnection);
    record.key = message.ReadWord();
    connection.identifier = message.ReadWord();
}

constexpr Exchange kConnectionCommand = {
    .request = 12, .reply = 13, .answers = {13, 14}, .other = StatusOfRefusal<14>, .sendFailure = ZEL_NOT_SUPPORTED};

void SendConnectionCommand(CConversation& phone, const WapRequest& record)
{
    CMessage message = phone.Request(kConnectionCommand);
    message.AppendWord(record.key);
    phone.Ask(message, kConnectionCommand);
}

}  // namespace

CWAPConnHandler::CWAPConnHandler() : CContentHandler(kOperations) {}
