// The steps that turn one [[<variant>.controllers]] table into a Controller.
#ifndef TARSELSIM_SCENARIO_BUILD_H
#define TARSELSIM_SCENARIO_BUILD_H

#include "model/model.h"
#include "scenario/node.h"

#include <initializer_list>
#include <map>
#include <utility>

namespace tarselsim {

// What the steps share while one controller is built.
struct BuildContext {
    int family = 0;
    std::map<U16, const Node*> driveNodes;  // device id -> its table
    std::map<U16, const Node*> stateNodes;  // device id -> its explicit 'state' value
};

// Realistic defaults for a controller of the family, before the scenario's
// values are applied.
void ApplyControllerDefaults(Controller& c, int family);

// Identity, interfaces, limits, capability words, properties, manufacturing
// defaults, connectors, driver strings, flash components (controller.cpp).
void ReadControllerIdentity(TableReader& t, Controller& c);

// Enclosures and devices (devices.cpp). Device sizes use the controller's
// coercion mode, so properties are read first.
void ReadDevices(TableReader& t, Controller& c, BuildContext& ctx);

// The compact generator table [<variant>.controllers.generate]: returns the
// enclosures, drives, arrays, logical_drives and hot_spares tables it
// stands for (generate.cpp).
Node GenerateTables(const Node& gen, int family, U8 coercionMode);

// Arrays, logical drives and hot spares, with the derived sizes and states
// (config.cpp). Drive states named in the scenario are checked against the
// configuration.
void ReadConfiguration(TableReader& t, Controller& c, BuildContext& ctx);

// The controller-operation tables (topology, firmware, patrol_read,
// cc_schedule, diagnostics, health, partitions) and their defaults
// (ctrl_ops.cpp). Read after the configuration: they name logical drives.
void ReadControllerOps(TableReader& t, Controller& c, int family);

// The lock key, EKM agent and pass-phrase hardware of [...key_management]
// (security.cpp).
void ReadKeyManagement(TableReader& t, Controller& c);

// [[...foreign_configs]]: configurations another controller wrote on drives
// of this one, each with the arrays, logical drives and spares tables of a
// configuration; their drives become foreign (and locked with 'lock_key').
// Read after the controller's own configuration (security.cpp).
void ReadForeignConfigs(TableReader& t, Controller& c, int family);

// The event log's settings ([...event_log]) and the scripted events
// ([[...events]]) of a controller (events.cpp).
void ReadEventLog(TableReader& t, Controller& c);

// Blocks of a drive after the controller's coercion: raw size less the
// reserved metadata area, rounded down as the family's coercion mode says.
void ComputeDriveSizes(Drive& d, int family, U8 coercionMode);

// An enclosure's SES elements: counts of the other element types, the
// vendor-specific bytes and per-element settings (encl_bbu.cpp). Called
// once the enclosure's own counts are read.
void ReadEnclosureElements(TableReader& t, Enclosure& e);

// The controller's battery backup unit, or the default one when the
// hardware bits report a battery (encl_bbu.cpp).
void ReadBbu(TableReader& t, Controller& c);

// Adds the SES device through which an enclosure itself is addressed.
void AddEnclosureDevice(Controller& c, const Enclosure& e);

// A name from a fixed list, or a raw number (0-255); anything else is
// refused with the value's position (devices.cpp).
U8 Choice(const Node& n, const char* what, std::initializer_list<std::pair<const char*, U8>> names);

// Manufacturing defaults: the family's defaults, and the [...mfc] keys
// (ctrl_misc.cpp).
void ApplyMfcDefaults(Controller& c, int family);
void ReadMfcDefaults(const Node& n, Controller& c);
// The 'phys' key of the [...topology] table: per-PHY link rates and error
// counters (ctrl_misc.cpp).
void ReadPhySettings(TableReader& topology, Controller& c);
// Manufacturing pages, pinned cache and bad-block log, with defaults from
// the controller's identity (ctrl_misc.cpp). Read after the configuration.
void ReadControllerMisc(TableReader& t, Controller& c);

// Default SAS address of a drive from its device id.
U64 DefaultDriveSasAddress(U16 deviceId);

} // namespace tarselsim

#endif
