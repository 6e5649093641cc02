// The first time the gateway comes online: WAN demo file 6F07 becomes the
// first IP connection of device 1 unless the card already names one.
#ifndef SIMCARD_SAL_INSTANCE_FIRST_ONLINE_H
#define SIMCARD_SAL_INSTANCE_FIRST_ONLINE_H

namespace simcard::instance {

// update6F07ForFirstOnline: 0 when nothing needed doing or the paths were
// built (in the tree only), -1 when the card is offline, the library is not
// initialised or file 6F07 lacks its path pattern or size.
int update_first_online();

}  // namespace simcard::instance

#endif  // SIMCARD_SAL_INSTANCE_FIRST_ONLINE_H
