#include "support/MessageTable.h"

#include "connection/HandlerRegistry.h"
#include "support/Bytes.h"

#include <gtest/gtest.h>

namespace
{

constexpr std::uint32_t kSendFails = 0x8007001F;

/// A phone that cannot be reached; remembers what should have been sent.
class CUnreachablePhone : public CDataSender
{
  public:
    std::set<std::uint8_t> sent;

    std::uint32_t Send(CMessage& message, std::uint32_t) override
    {
        sent.insert(message.GetMessageId());
        return kSendFails;
    }
    std::uint32_t SendRaw(std::uint32_t, const std::uint8_t*) override { return kSendFails; }
    std::uint32_t GetServiceVersion(std::uint8_t, std::uint8_t& major, std::uint8_t& minor) override
    {
        major = minor = 99;
        return ZEL_OK;
    }
    std::uint32_t GetTimeServiceParameters(std::uint16_t&, std::uint16_t&) override { return ZEL_OK; }
};

std::map<std::uint32_t, MessageRow> RowsById()
{
    std::map<std::uint32_t, MessageRow> rows;
    for (const MessageRow& row : ReadMessageTable())
        EXPECT_TRUE(rows.emplace(row.id, row).second) << row.name << " stands twice";
    return rows;
}

TEST(MessageTable, NamesWhatTheHeadersDefine)
{
    std::map<std::string, std::uint32_t> documented;
    for (const MessageRow& row : ReadMessageTable())
        documented[row.name] = row.id;
    EXPECT_EQ(documented, ReadMessageIdsOfHeaders());
}

/// The handlers serve the requests of the table and no others, and send what it says.
TEST(MessageTable, HasTheRequestsOfTheHandlers)
{
    const auto rows = RowsById();
    const CSLSrvPtr unconnected;
    CHandlerRegistry registry(unconnected);
    std::set<std::uint32_t> served;
    for (std::uint32_t id = 0; id <= 0xFFFF; ++id)
    {
        std::shared_ptr<CContentHandler> handler;
        try
        {
            handler = registry.GetHandler(ZEL_RESOURCE_OF(id));
        }
        catch (std::uint32_t)
        {
            id |= 0xFF;
            continue;
        }
        alignas(16) std::uint8_t record[8192] = {};
        CUnreachablePhone phone;
        if (handler->EncodeRequest(phone, id, record) == ZEL_NOT_HANDLED)
            continue;
        served.insert(id);
        const auto row = rows.find(id);
        ASSERT_TRUE(row != rows.end() && !row->second.IsIndication()) << std::hex << id << " is missing";
        for (const std::uint8_t sent : phone.sent)
            EXPECT_TRUE(row->second.MessageIds().contains(sent)) << row->second.name << " sends " << unsigned{sent};
    }
    for (const auto& [id, row] : rows)
        EXPECT_TRUE(row.IsIndication() || served.contains(id)) << row.name << " is not served";
}

/// What the phone says on its own is in the table, and everything else is not handled.
TEST(MessageTable, HasTheIndicationsOfTheHandlers)
{
    const CSLSrvPtr unconnected;
    CHandlerRegistry registry(unconnected);
    for (const MessageRow& row : ReadMessageTable())
    {
        if (!row.IsIndication())
            continue;
        for (const std::uint8_t messageId : row.MessageIds())
        {
            CMessage message;
            message.SetMessageId(messageId);
            std::uint32_t id = 0;
            void* record = nullptr;
            // SMS speaks on its first resource about messages of both.
            const bool sms = ZEL_RESOURCE_OF(row.id) == 0x14;
            const auto handler = registry.GetHandler(sms ? 0x02 : ZEL_RESOURCE_OF(row.id));
            EXPECT_EQ(handler->DecodeMessage(message, id, record), ZEL_OK) << row.name;
            EXPECT_TRUE(id == row.id || id == 0) << row.name;
            handler->FreeDecodedData(id, record);
        }
    }
}

}  // namespace
