#pragma once

#include "handlers/base/ContentHandler.h"

/// The phone's user profiles, resource 0x39. They deliver no indications.
class CUserProfilesHandler : public CContentHandler
{
  public:
    CUserProfilesHandler();
};
