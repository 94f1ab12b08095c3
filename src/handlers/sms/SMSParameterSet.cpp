#include "handlers/sms/SMSParameterSet.h"

#include "handlers/base/Blocks.h"
#include "handlers/base/DateTime.h"
#include "message/ExceptionFrame.h"

#include <algorithm>
#include <iterator>

namespace
{

enum ItemId : std::uint8_t
{
    kExtra = 8,
    kUserData = 128,
    kAddress = 130,
    kTimeStamp = 132,
};

/// One item: a type before the length or a coding behind it, where the item has one, and the bytes.
struct Item
{
    std::uint8_t id;
    bool once;  ///< Taken by one sub-block; the next with this id goes to the next item.
    std::uint8_t SmsParameterGroup::*type;
    std::uint32_t SmsParameterGroup::*length;
    std::uint16_t SmsParameterGroup::*coding;
    std::uint8_t* SmsParameterGroup::*bytes;
};

/// In the order in which they are sent.
constexpr Item kItems[] = {
    {kAddress, true, &SmsParameterGroup::first_address_type, &SmsParameterGroup::first_address_length, nullptr,
     &SmsParameterGroup::first_address},
    {kAddress, true, &SmsParameterGroup::second_address_type, &SmsParameterGroup::second_address_length, nullptr,
     &SmsParameterGroup::second_address},
    {kUserData, false, nullptr, &SmsParameterGroup::user_data_length, &SmsParameterGroup::user_data_coding,
     &SmsParameterGroup::user_data},
    {kExtra, false, nullptr, &SmsParameterGroup::extra_length, nullptr, &SmsParameterGroup::extra},
};

bool IsPresent(const Item& item, const SmsParameterGroup& group)
{
    return group.*item.length != 0 && IsReadable(group.*item.bytes);
}

void WriteItem(CMsgBase& message, const Item& item, const SmsParameterGroup& group)
{
    const auto length = static_cast<std::uint8_t>(std::min(group.*item.length, ZEL_SMS_PARAMETER_MAX));
    CSubBlock block = NewBlock(kShortBlock, item.id);
    if (item.type != nullptr)
        block.AppendByte(group.*item.type);
    block.AppendByte(length);
    if (item.coding != nullptr)
        block.AppendByte(static_cast<std::uint8_t>(group.*item.coding));
    block.AppendBytes(length, group.*item.bytes);
    block.WriteTo(&message);
}

/// The way back of what ReadTime does: the phone keeps local time. A time that cannot be converted is sent as zeros;
/// the message is worth more than its time stamp.
void WriteTime(CMsgBase& message, const SmsTime& time)
{
    SYSTEMTIME local = {};
    UtcToLocal(TimeIn(time), &local);

    CSubBlock block = NewBlock(kShortBlock, kTimeStamp);
    AppendTimeToSecond(block, local);
    block.AppendBytes({0, 0, 0});
    block.WriteTo(&message);
}

}  // namespace

void CSMSParameterSet::Write(CMsgBase& message, const SmsParameterGroup& group, const SmsTime* time)
{
    const auto isPresent = [&](const Item& item) { return IsPresent(item, group); };
    const bool hasTime = IsReadable(time);
    message.AppendByte(
        static_cast<std::uint8_t>(std::count_if(std::begin(kItems), std::end(kItems), isPresent) + (hasTime ? 1 : 0)));
    for (const Item& item : kItems)
        if (isPresent(item))
            WriteItem(message, item, group);
    if (hasTime)
        WriteTime(message, *time);
}

void CSMSParameterSet::Read(CMsgBase& message, TimeStamp timeStamp)
{
    m_group.first_address_length = 0;
    m_group.second_address_length = 0;
    ForEachBlock(message, message.ReadByte(), kShortBlock, [&](CSubBlock& block, std::uint32_t) {
        if (block.GetId() != kTimeStamp)
            ReadItem(block);
        else if (timeStamp == kWithTime)
            ReadTime(block);
    });
}

void CSMSParameterSet::ReadItem(CSubBlock& block)
{
    static_assert(std::size(kItems) == kItemCount);
    for (std::size_t i = 0; i < kItemCount; ++i)
    {
        const Item& item = kItems[i];
        if (item.id != block.GetId() || (item.once && m_bytes[i].IsRead()))
            continue;
        if (item.type != nullptr)
            m_group.*item.type = block.ReadByte();
        const std::uint8_t length = block.ReadByte();
        m_group.*item.length = length;
        if (item.coding != nullptr)
            m_group.*item.coding = block.ReadByte();
        m_bytes[i].Read(block, length);
        return;
    }
}

void CSMSParameterSet::ReadTime(CSubBlock& block)
{
    SYSTEMTIME utc = {};
    ZoneInformation zone = {};
    if (const std::uint32_t result = LocalToUtc(ReadTimeToSecond(block), &utc, &zone); result != ZEL_OK)
        ThrowCode(result);

    m_time = AllocateRecords<SmsTime>();
    StoreTime(utc, *m_time);
    StoreOffsets(zone, *m_time);
}

void CSMSParameterSet::MoveTo(SmsParameterGroup& group)
{
    for (std::size_t i = 0; i < kItemCount; ++i)
        m_bytes[i].StoreIn(m_group.*kItems[i].bytes);
    group = m_group;
}

void CSMSParameterSet::MoveTo(SmsParameterGroup& group, SmsTime*& time)
{
    MoveTo(group);
    if (m_time)
        time = m_time.release();
}
