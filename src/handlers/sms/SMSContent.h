#pragma once

#include "handlers/sms/SMSBlock.h"
#include "message/SubBlock.h"
#include "zelapi/sms.h"

#include <array>
#include <cstdint>

/// Header bytes and blocks of a short message, laid out by its kind, at the start of its sub-block. The sub-block's id
/// is the kind.
///
/// An object is a content that is being read; what it holds is freed unless it is moved into a record.
class CSMSContent
{
  public:
    /// The kinds are the numbers below this one.
    static constexpr std::uint8_t kKindCount = 3;

    /// Throws ZEL_E_ARGUMENT for a block that has a length but cannot be read. REQUIRES: a known kind.
    static void Write(CMsgBase& message, const SmsContent& content);

    /// `before`: what stands in the record now, kept where the kind has no such field.
    explicit CSMSContent(const SmsContent& before) : m_content(before) {}

    /// Reads a content of one of the first `kinds` kinds. False for another one, with nothing read.
    /// Throws CAtlException.
    bool Read(CSubBlock& block, std::uint8_t kinds);

    std::uint8_t GetKind() const { return m_content.kind; }

    /// REQUIRES: a content has been read.
    void MoveTo(SmsContent& content);

  private:
    SmsContent m_content;
    std::array<CSMSBlock, 2> m_blocks;
};
