#pragma once

#include "handlers/base/ContentHandler.h"

/// The phone's calendar, resource 0x13. A request may be several exchanges; there are no indications.
class CCalendarHandler : public CContentHandler
{
  public:
    CCalendarHandler();
};
