#include "handlers/FullAccessHandler.h"

#include "zelapi/full_access.h"

#include <cstring>

namespace
{

void SendRaw(CConversation& phone, void* record);

constexpr Operation kOperations[] = {
    {ZEL_RAW_SEND, Serve<SendRaw>},
};

void SendRaw(CConversation& phone, void* record)
{
    const auto* raw = static_cast<const RawRequest*>(record);
    if (!IsReadable(raw) || (raw->length != 0 && !IsReadable(raw->bytes)))
        ThrowCode(ZEL_E_FAIL);
    if (const std::uint32_t result = phone.GetSender().SendRaw(raw->length, raw->bytes); result != ZEL_OK)
        ThrowCode(result);
}

void FreeRequest(void* record)
{
    if (!IsReadable(record))
        return;
    auto* request = static_cast<RawRequest*>(record);
    if (IsReadable(request->bytes))
        CoTaskMemFree(request->bytes);
    request->bytes = nullptr;
    CoTaskMemFree(request);
}

}  // namespace

CFullAccessHandler::CFullAccessHandler() : CContentHandler(kOperations) {}

std::uint32_t CFullAccessHandler::EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record)
{
    if (messageId != ZEL_FULL_ACCESS_QUERY)
        return CContentHandler::EncodeRequest(sender, messageId, record);
    if (!IsReadable(record))
        return ZEL_E_FAIL;
    static_cast<AccessRecord*>(record)->access = m_access;
    return ZEL_OK;
}

std::uint32_t CFullAccessHandler::DecodeMessage(CMessage& message, std::uint32_t& messageId, void*& record)
{
    CTaskMemOwner<RawMessage> raw(static_cast<RawMessage*>(CoTaskMemAlloc(sizeof(RawMessage))));
    if (!raw)
        return ZEL_E_OUT_OF_MEMORY;
    const std::uint32_t count = message.GetSize();
    raw->size = sizeof(RawMessage);
    raw->count = count;
    raw->bytes = static_cast<std::uint8_t*>(CoTaskMemAlloc(count));
    if (raw->bytes == nullptr)
        raw->count = 0;
    else if (count != 0)
        std::memcpy(raw->bytes, message.GetData(), count);
    messageId = ZEL_RAW_MESSAGE;
    record = raw.release();
    return ZEL_OK;
}

std::uint32_t CFullAccessHandler::FreeDecodedData(std::uint32_t messageId, void* record)
{
    switch (messageId)
    {
    case ZEL_FULL_ACCESS_QUERY:
        return ZEL_OK;
    case ZEL_RAW_SEND:
        FreeRequest(record);
        return ZEL_OK;
    default:
        // Raw messages are not freed here: they stay with whoever received them.
        return ZEL_NOT_HANDLED;
    }
}
