#pragma once

#include "handlers/base/ContentHandler.h"

/// The phone's WAP connection settings, resource 0x3F. They deliver no indications.
class CWAPConnHandler : public CContentHandler
{
  public:
    CWAPConnHandler();
};
