#include "handlers/sms/SMSAddresses.h"

#include "handlers/base/Blocks.h"

#include <algorithm>

namespace
{

enum ItemId : std::uint8_t
{
    kBlock = 129,
    kAddress = 130,
};

}  // namespace

void CSMSAddresses::ReadGroup(CSubBlock& group)
{
    group.Skip(1);
    m_read.inverted = static_cast<std::uint8_t>(255 - group.ReadByte());
    for (std::uint8_t& value : m_read.values)
        value = group.ReadByte();
    m_read.first_address_length = 0;
    m_read.second_address_length = 0;
    std::uint32_t addresses = 0;
    ForEachBlock(group, group.ReadByte(), kShortBlock, [&](CSubBlock& item, std::uint32_t) {
        if (item.GetId() == kBlock)
            ReadBlock(item);
        else if (item.GetId() == kAddress && addresses < 2)
            addresses++ == 0 ? ReadFirst(item) : ReadSecond(item);
    });
}

void CSMSAddresses::ReadBlock(CSubBlock& item)
{
    m_read.block_length = item.ReadByte();
    m_read.block_value = item.ReadByte();
    m_block.Read(item, m_read.block_length);
}

void CSMSAddresses::ReadFirst(CSubBlock& item)
{
    m_read.first_address_type = item.ReadByte();
    m_read.first_address_length = item.ReadByte();
    m_first.Read(item, m_read.first_address_length);
}

/// Takes as many bytes as the first address has, not as many as the item says. The memory also covers the length that
/// the item says, since the application goes by it.
void CSMSAddresses::ReadSecond(CSubBlock& item)
{
    m_read.second_address_type = item.ReadByte();
    m_read.second_address_length = item.ReadByte();
    const std::uint32_t taken = m_read.first_address_length;
    CTaskMemOwner<std::uint8_t> bytes;
    if (taken != 0)
    {
        bytes = AllocateRecords<std::uint8_t>(std::max(taken, m_read.second_address_length));
        std::generate_n(bytes.get(), taken, [&] { return item.ReadByte(); });
    }
    m_second.Set(std::move(bytes));
}

void CSMSAddresses::MoveTo(SmsAddresses& record)
{
    m_first.StoreIn(m_read.first_address);
    m_second.StoreIn(m_read.second_address);
    m_block.StoreIn(m_read.block);
    record = m_read;
}
