// Shared between the controller command files of the simulated library.
#ifndef TARSELSIM_COMMANDS_CTRL_INTERNAL_H
#define TARSELSIM_COMMANDS_CTRL_INTERNAL_H

#include <vector>

#include "commands/registry.h"

namespace tarselsim {

// The information record as the firmware reports it now: the scenario's
// identity and capabilities with the current properties, the virtual
// clock's time and the device counts derived from the model.
KV_CTRL_INFO BuildCtrlInfo(const Library& lib, const Controller& c);

// Logical drives in target-id order, as the OS enumerates them (the OS
// drive number of a logical drive is its position here).
std::vector<const LogicalDrive*> LdsByTarget(const Controller& c);

// Device, enclosure and logical-drive lists, distributions, driver version
// and PCI information (ctrl_lists.cpp).
void RegisterCtrlListCommands();

} // namespace tarselsim

#endif
