// One SES element of a simulated enclosure (a slot, power supply, fan,
// sensor, alarm, controller module, ...): the condition the scenario gives
// it, the status it reports now, its reading and thresholds, and the
// indicators a set-element request changes. Behaviour is in encl.h.
#ifndef TARSELSIM_MODEL_ENCL_ELEMENT_H
#define TARSELSIM_MODEL_ENCL_ELEMENT_H

#include "tarsel.h"

namespace tarselsim {

struct EnclElement {
    U8 type = 0;           // SES element type code (1 device slot ... 25 SAS connector)
    U8 index = 0;          // position among the enclosure's elements of this type
    // Status of the hardware itself (scenario): OK unless a fault is given.
    // Sensors, fans and the alarm report their readings' status while it is OK.
    U8 condition = 1;
    U8 status = 1;         // status reported now (SES_STATUS_...)
    U8 bits[4] = {};       // indicator bits the scenario sets, ORed into the SES status bytes
    double reading = 0;    // temperature deg C, fan rpm, voltage mV, current mA, cache size
    double nominal = 0;    // temperature: ambient the sensor settles to; voltage/current: nominal value
    // highWarning, lowWarning, highCritical, lowCritical (raw SES bytes; 0: not checked)
    U8 thresholds[4] = {};
    bool ident = false;    // identify indicator requested (slots, enclosure)
    bool fault = false;    // fault indicator requested (slots)
    bool muted = false;    // alarm muted
    U8 speedRequest = 0;   // fan speed code requested (0: chosen by the firmware)
    S8 level = 0;          // sensors: -2 under critical, -1 under warning, 0 normal, 1 over warning, 2 over critical
};

} // namespace tarselsim

#endif
