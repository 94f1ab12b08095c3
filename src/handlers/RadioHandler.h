#pragma once

#include "handlers/base/ContentHandler.h"

/// The phone's radio service, resource 0x3E.
class CRadioHandler : public CContentHandler
{
  public:
    CRadioHandler();
};
