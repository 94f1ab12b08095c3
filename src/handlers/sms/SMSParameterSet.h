#pragma once

#include "handlers/sms/SMSBlock.h"
#include "message/SubBlock.h"
#include "zelapi/sms.h"

#include <array>
#include <cstdint>

/// The parameters of a short message on the wire: the number of items, then one sub-block for each item that is there.
///
/// An object is a set that is being read; what it holds is freed unless it is moved into a record.
class CSMSParameterSet
{
  public:
    enum TimeStamp
    {
        kWithoutTime,
        kWithTime,
    };

    /// Appends the parameters that are present, and a time stamp if `time` can be followed.
    static void Write(CMsgBase& message, const SmsParameterGroup& group, const SmsTime* time = nullptr);

    /// `before`: what stands in the record now, kept where the phone sends nothing.
    explicit CSMSParameterSet(const SmsParameterGroup& before) : m_group(before) {}

    /// Throws the result of a time stamp's conversion that failed, CAtlException.
    void Read(CMsgBase& message, TimeStamp timeStamp);

    void MoveTo(SmsParameterGroup& group);
    void MoveTo(SmsParameterGroup& group, SmsTime*& time);

  private:
    static constexpr std::size_t kItemCount = 4;

    void ReadItem(CSubBlock& block);
    void ReadTime(CSubBlock& block);

    SmsParameterGroup m_group;
    /// By item.
    std::array<CSMSBlock, kItemCount> m_bytes;
    CTaskMemOwner<SmsTime> m_time;
};
