#pragma once

#include "handlers/base/ContentHandler.h"
#include "zelapi/calendar.h"

#include <span>
#include <vector>

/// The phone's calendar, resource 0x13. A request may be several exchanges; there are no indications.
class CCalendarHandler : public CContentHandler
{
  public:
    std::uint32_t EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record) override;

  private:
    std::uint32_t List(CDataSender& sender, CalendarListRecord& record) const;
    bool ListPart(CDataSender& sender, std::uint16_t selector, std::uint8_t mode, std::vector<std::uint32_t>& locations,
                  std::uint32_t& result) const;

    std::uint32_t Read(CDataSender& sender, CalendarEntryRecord& record) const;
    std::uint32_t ReadNewFormat(CDataSender& sender, CalendarEntryRecord& record) const;
    std::uint32_t ReadOldFormat(CDataSender& sender, CalendarEntryRecord& record) const;

    std::uint32_t Write(CDataSender& sender, CalendarEntryRecord& record) const;
    std::uint32_t Announce(CDataSender& sender, std::uint32_t location) const;
    std::uint32_t Create(CDataSender& sender, std::uint8_t kind, std::span<CalendarField> fields,
                         std::uint32_t& location) const;
    std::uint32_t WriteNewFormat(CDataSender& sender, CalendarEntryRecord& record) const;
    std::uint32_t WriteOldFormat(CDataSender& sender, std::uint8_t kind, std::uint32_t location,
                                 std::span<const CalendarField> fields) const;

    std::uint32_t Query(CDataSender& sender, CalendarLocationRecord& record) const;
    std::uint32_t OperateOnKind(CDataSender& sender, const CalendarKindRecord& record) const;
    std::uint32_t Summary(CDataSender& sender, CalendarSummaryRecord& record) const;

    /// True if the phone's version of the service is known and at least 3.`minor`.
    bool HasVersion3(CDataSender& sender, std::uint8_t minor) const;
    /// Like Exchange, and reads the status byte: true only if it is a success, and then `result` is 0.
    bool Converse(CDataSender& sender, CMessage& message, std::uint8_t replyId, std::uint32_t& result) const;
};
