#pragma once

#include "handlers/sms/SMSBlock.h"
#include "message/SubBlock.h"
#include "zelapi/sms.h"

#include <cstdint>

/// Groups of addresses that are being read; what they hold is freed unless it is moved into a record. A later group
/// overwrites what it brings.
class CSMSAddresses
{
  public:
    /// `before`: what stands in the record now, kept where the phone sends nothing.
    explicit CSMSAddresses(const SmsAddresses& before) : m_read(before) {}

    /// Throws CAtlException (E_OUTOFMEMORY).
    void ReadGroup(CSubBlock& group);

    void MoveTo(SmsAddresses& record);

  private:
    void ReadBlock(CSubBlock& item);
    void ReadFirst(CSubBlock& item);
    void ReadSecond(CSubBlock& item);

    SmsAddresses m_read;
    CSMSBlock m_first;
    CSMSBlock m_second;
    CSMSBlock m_block;
};
