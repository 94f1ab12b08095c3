#include "handlers/sms/SMSContent.h"

#include "handlers/base/CallersData.h"

namespace
{

struct KindLayout
{
    std::uint8_t headerCount;
    std::uint8_t header[4];  ///< Which header byte comes when.
    std::uint8_t gap;        ///< Zeros behind the header.
    std::uint8_t blockCount;
    std::uint8_t tail;  ///< Zeros behind the blocks.
};

constexpr KindLayout kKinds[CSMSContent::kKindCount] = {
    {3, {0, 1, 2}, 0, 1, 3},
    {2, {0, 3}, 1, 2, 0},
    {4, {0, 3, 1, 2}, 1, 0, 0},
};

struct BlockField
{
    std::uint8_t SmsContent::*length;
    std::uint8_t* SmsContent::*bytes;
};

constexpr BlockField kBlocks[] = {
    {&SmsContent::first_block_length, &SmsContent::first_block},
    {&SmsContent::second_block_length, &SmsContent::second_block},
};

constexpr std::uint8_t kZeros[ZEL_SMS_BLOCK_LENGTH] = {};

}  // namespace

void CSMSContent::Write(CMsgBase& message, const SmsContent& content)
{
    const KindLayout& layout = kKinds[content.kind];
    for (std::size_t i = 0; i < layout.headerCount; ++i)
        message.AppendByte(content.header[layout.header[i]]);
    message.AppendBytes(layout.gap, kZeros);
    for (std::size_t i = 0; i < layout.blockCount; ++i)
    {
        const std::uint8_t* bytes = content.*kBlocks[i].bytes;
        ElementsOf(bytes, content.*kBlocks[i].length);
        message.AppendBytes(ZEL_SMS_BLOCK_LENGTH, IsReadable(bytes) ? bytes : kZeros);
    }
    message.AppendBytes(layout.tail, kZeros);
}

bool CSMSContent::Read(CSubBlock& block, std::uint8_t kinds)
{
    if (block.GetId() >= kinds)
        return false;
    m_content.kind = static_cast<std::uint8_t>(block.GetId());
    const KindLayout& layout = kKinds[m_content.kind];
    for (std::size_t i = 0; i < layout.headerCount; ++i)
        m_content.header[layout.header[i]] = block.ReadByte();
    block.Skip(layout.gap);
    for (std::size_t i = 0; i < layout.blockCount; ++i)
        m_blocks[i].Read(block, ZEL_SMS_BLOCK_LENGTH);
    block.Skip(layout.tail);
    return true;
}

void CSMSContent::MoveTo(SmsContent& content)
{
    for (std::size_t i = 0; i < kKinds[m_content.kind].blockCount; ++i)
    {
        m_content.*kBlocks[i].length = ZEL_SMS_BLOCK_LENGTH;
        m_blocks[i].StoreIn(m_content.*kBlocks[i].bytes);
    }
    content = m_content;
}
