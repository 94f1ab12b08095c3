#include "message/SubBlock.h"

void CSubBlock::SetFormat(std::uint32_t idWidth, std::uint32_t fillerMode, std::uint32_t lengthWidth,
                          std::uint32_t fillerCount)
{
    m_idWidth = idWidth;
    m_fillerMode = fillerMode;
    m_lengthWidth = lengthWidth;
    m_fillerCount = fillerCount;
}

void CSubBlock::Clear()
{
    CMsgBase::Clear();
    m_id = 0xFFFF;
    m_length = 0;
}

bool CSubBlock::ReadFrom(CMsgBase* message)
{
    if (!IsReadable(message))
        return false;
    const std::uint32_t start = message->GetPosition();
    if (!ReadId(*message) || !SkipFiller(*message) || !ReadLength(*message))
        return false;
    const std::uint16_t size = PayloadSize();
    if (size == 0)
        return false;
    TakeFrom(*message, size);
    SetPosition(0);
    message->SetPosition(start + m_length);
    return true;
}

bool CSubBlock::ReadId(CMsgBase& message)
{
    switch (m_idWidth)
    {
    case 1:
        m_id = message.ReadByte();
        return true;
    case 2:
        m_id = message.ReadWord();
        return true;
    default:
        return false;
    }
}

bool CSubBlock::SkipFiller(CMsgBase& message) const
{
    if (m_fillerMode == 2)
        message.Skip(1);
    if (m_fillerMode == 4)
        message.Skip(3);
    return m_fillerMode <= 4;
}

bool CSubBlock::ReadLength(CMsgBase& message)
{
    switch (m_lengthWidth)
    {
    case 1:
        m_length = message.ReadByte();
        return true;
    case 2:
        m_length = message.ReadWord();
        return true;
    case 4:
        m_length = static_cast<std::uint16_t>(message.ReadDword());
        return true;
    default:
        return false;
    }
}

std::uint16_t CSubBlock::PayloadSize() const
{
    const std::uint32_t header = m_idWidth + m_fillerCount + m_lengthWidth;
    const std::uint32_t implied = m_fillerCount == 0 && m_fillerMode >= 2 ? 1 : 0;
    return static_cast<std::uint16_t>(m_length - header - implied);
}

std::uint32_t CSubBlock::GetLongestPayload() const
{
    const std::uint32_t longest = (1u << (8 * m_lengthWidth)) - 4;
    return longest - WrittenHeaderSize();
}

bool CSubBlock::WriteTo(CMsgBase* message)
{
    if (!IsReadable(message))
        return false;
    Pad();
    if (!WriteId(*message) || !WriteFiller(*message) || !WriteLength(*message))
        return false;
    message->AppendBytes(GetSize(), GetData());
    return true;
}

void CSubBlock::Pad()
{
    m_length = static_cast<std::uint16_t>(GetSize() + WrittenHeaderSize());
    while (m_length % 4 != 0)
    {
        AppendByte(0);
        ++m_length;
    }
}

bool CSubBlock::WriteId(CMsgBase& message) const
{
    switch (m_idWidth)
    {
    case 1:
        message.AppendByte(static_cast<std::uint8_t>(m_id));
        return true;
    case 2:
        message.AppendWord(m_id);
        return true;
    default:
        return false;
    }
}

bool CSubBlock::WriteFiller(CMsgBase& message) const
{
    // The id stays in the message when the filler cannot be written.
    if (m_fillerMode > 2)
        return false;
    if (m_fillerMode == 2)
        message.AppendByte(0);
    return true;
}

bool CSubBlock::WriteLength(CMsgBase& message) const
{
    switch (m_lengthWidth)
    {
    case 1:
        message.AppendByte(static_cast<std::uint8_t>(m_length));
        return true;
    case 2:
        message.AppendWord(m_length);
        return true;
    default:
        return false;
    }
}
