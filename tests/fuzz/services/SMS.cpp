#include "fuzz/FuzzService.h"
#include "handlers/sms/SMSHandler.h"

#include <array>
#include <iterator>
#include <utility>

namespace
{

constexpr std::uint8_t kTransport = 0x02;
constexpr std::uint8_t kStore = 0x14;

/// Reads a block that a request gave and frees it; one that stands where it stood before is the input's.
void TakeNew(const std::uint8_t* block, std::size_t size, const std::uint8_t* before)
{
    if (block == before)
        return;
    TakeBlock(const_cast<std::uint8_t*>(block), size);
}

/// The application's blocks of bytes, of lengths that the input chooses.
using Blocks = std::array<std::vector<std::uint8_t>, 4>;

SmsParameterGroup Group(CFuzzCase& fuzz, Blocks& blocks)
{
    for (auto& block : blocks)
        block = fuzz.Block(fuzz.Byte());
    auto& [first, second, extra, data] = blocks;
    const auto size = [](const auto& block) { return static_cast<std::uint32_t>(block.size()); };
    return {0,           fuzz.Byte(),  size(first), first.data(), fuzz.Byte(), size(second), second.data(),
            size(extra), extra.data(), fuzz.Word(), size(data),   data.data()};
}

std::array<std::pair<const std::uint8_t*, std::uint32_t>, 4> BlocksOf(const SmsParameterGroup& group)
{
    return {{{group.first_address, group.first_address_length},
             {group.second_address, group.second_address_length},
             {group.extra, group.extra_length},
             {group.user_data, group.user_data_length}}};
}

void List(CFuzzCase& fuzz)
{
    SmsList record = {0, {fuzz.Byte(), fuzz.Byte(), fuzz.Byte()}, 0, nullptr};
    fuzz.Request(&record);
    TakeBlock(record.values, record.count * sizeof *record.values);
}

void Submit(CFuzzCase& fuzz)
{
    Blocks blocks;
    SmsSubmit record = {0, {fuzz.Byte()}, fuzz.Byte(), {fuzz.Byte()}, Group(fuzz, blocks)};
    fuzz.Request(&record);
}

void Stored(CFuzzCase& fuzz)
{
    Blocks blocks;
    SmsTime time = {fuzz.Word(), fuzz.Byte(), fuzz.Byte(), fuzz.Byte(), fuzz.Byte(), fuzz.Byte(), 0, 0};
    std::uint8_t block[ZEL_SMS_BLOCK_LENGTH] = {1, 2, 3, 4, 5, 6, 7};
    SmsStoredMessage record = {};
    record.location = fuzz.Word();
    record.content.kind = fuzz.Byte();
    record.content.first_block = block;
    record.time = fuzz.Byte() % 2 == 0 ? &time : nullptr;
    record.parameters = Group(fuzz, blocks);
    const SmsStoredMessage before = record;
    fuzz.Request(&record);
    TakeNew(record.content.first_block, ZEL_SMS_BLOCK_LENGTH, before.content.first_block);
    TakeNew(record.content.second_block, ZEL_SMS_BLOCK_LENGTH, before.content.second_block);
    for (std::size_t i = 0; i < 4; ++i)
        TakeNew(BlocksOf(record.parameters)[i].first, BlocksOf(record.parameters)[i].second,
                BlocksOf(before.parameters)[i].first);
    if (record.time != before.time)
        TakeBlock(record.time, sizeof *record.time);
}

void Details(CFuzzCase& fuzz)
{
    SmsDetails record = {};
    record.location = fuzz.Word();
    fuzz.Request(&record);
    TakeNew(record.first_block, ZEL_SMS_DETAIL_LENGTH, nullptr);
    TakeNew(record.second_block, ZEL_SMS_DETAIL_LENGTH, nullptr);
    TakeNew(record.third_block, ZEL_SMS_BLOCK_LENGTH, nullptr);
    TakeText(record.text);
}

void Addresses(CFuzzCase& fuzz)
{
    SmsAddresses record = {};
    fuzz.Request(&record);
    TakeNew(record.first_address, record.first_address_length, nullptr);
    TakeNew(record.second_address, record.second_address == nullptr ? 0 : record.second_address_length, nullptr);
    TakeNew(record.block, record.block_length, nullptr);
}

void Texts(CFuzzCase& fuzz)
{
    SmsTextList record = {};
    fuzz.Request(&record);
    for (std::uint8_t i = 0; i < record.count; ++i)
        TakeText(record.entries[i].text);
    CoTaskMemFree(record.entries);
}

void WriteText(CFuzzCase& fuzz)
{
    const CBStrOwner text = fuzz.Text();
    SmsTextToWrite record = {0, fuzz.Byte(), text.get()};
    fuzz.Request(&record);
}

/// Requests whose record is a few bytes.
void Plain(CFuzzCase& fuzz)
{
    SmsLocationCommand record = {0, {fuzz.Byte(), fuzz.Byte()}, fuzz.Word()};
    fuzz.Request(&record);
}

void Request(CFuzzCase& fuzz)
{
    // By operation, from 1 on.
    constexpr void (*kRequests[])(CFuzzCase&) = {List,    Submit,    Stored, Stored,    Plain,
                                                 Details, Addresses, Texts,  WriteText, Plain};
    fuzz.AllowResource(kTransport);
    const std::uint32_t index = fuzz.MessageId() - ZEL_SMS_LIST;
    (index < std::size(kRequests) ? kRequests[index] : Plain)(fuzz);
}

void Deliver(std::uint32_t messageId, void* record)
{
    if (messageId == ZEL_SMS_EVENT)
        Touch(record, sizeof(SmsEvent));
    if (messageId != ZEL_SMS_RECEIVED)
        return;
    const auto& message = *static_cast<const SmsReceivedMessage*>(record);
    Touch(&message, sizeof message);
    for (const auto& [block, length] : BlocksOf(message.parameters))
        Touch(block, length);
    Touch(message.content.first_block, message.content.first_block_length);
    Touch(message.content.second_block, message.content.second_block_length);
}

const CFuzzService g_store(kStore, NewHandler<CSMSHandler>, {Request}, Deliver);
const CFuzzService g_transport(kTransport, NewHandler<CSMSHandler>, {Request}, Deliver);

}  // namespace
