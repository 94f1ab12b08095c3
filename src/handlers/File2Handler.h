#pragma once

#include "handlers/base/ContentHandler.h"

/// The phone's files, resource 0x6D. They deliver no indications.
class CFile2Handler : public CContentHandler
{
  public:
    CFile2Handler();
};
