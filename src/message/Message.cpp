#include "message/Message.h"

void CMessage::Clear()
{
    CMsgBase::Clear();
    m_resource = 0;
    m_messageId = 0;
}
