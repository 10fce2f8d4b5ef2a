#include "relay/ids/FixedForms.h"

#include "platform/Node.h"

std::uint8_t slotOfBoard(const IdDebug& debug)
{
    std::uint8_t slot = 0;
    if (ncfmGetMyBoardPos(&slot) == 0)
        return slot;
    DHCPRA_ID_LOG(debug, "\n\t DHCPRA: Get value for SlotID  FAILED.\n");
    return 0;
}
