// Passthrough group: SCSI commands to a drive, SMP requests to an expander
// chosen from the SAS topology, ATA commands to a SATA drive through STP,
// firmware direct commands; and the decoders of what comes back
// (passthru_decode.cpp), which never read past the bytes received.
#ifndef TARSELTEST_PASSTHRU_H
#define TARSELTEST_PASSTHRU_H

#include <string>
#include <vector>

#include "tarseltest.h"

/* ---- passthrough menu items 1 to 5 ---- */
int SCSIPassthru(void);
int SMPPassthru(void);
int STPPassthruMenu(void);
int DCMDPassthru(void);
int STPPassthruWriteSector(void);
/* ATA IDENTIFY DEVICE of a SATA drive through STP, decoded. */
int STPPassthru(int deviceId);

/* ---- typed hexadecimal input ---- */
/* Bytes typed as pairs of hex digits (blanks between bytes allowed), at
   most `max`; on failure *problem names it ("... has an odd number of hex
   digits", "... holds a character that is not a hex digit", "... holds at
   most %u bytes"), after `what` ("The CDB"). */
bool ParseHexBytes(const std::string& text, size_t max, const char* what, std::vector<U8>* out, std::string* problem);
/* A number of at most `maxDigits` hex digits (an optional "0x" first). */
bool ParseHexNumber(const std::string& text, int maxDigits, U32* value);

/* ---- decoders ---- */
void PrintSenseData(const U8* sense, U32 length);
/* Standard inquiry data, or VPD page `page` when `vpd` is set. */
void PrintInquiryData(const U8* data, U32 length, bool vpd, U8 page);
void PrintReadCapacity16(const U8* data, U32 length);
void PrintLogPage(const U8* data, U32 length);
void PrintModeData10(const U8* data, U32 length);
/* Model, serial, firmware and capacity of IDENTIFY DEVICE data. */
void PrintIdentifyDevice(const U8* data, U32 length);
/* An ATA text of `words` words starting at `word`, bytes swapped, trailing
   blanks removed. */
std::string AtaString(const U8* data, U32 length, int word, int words);
/* The result and the fields of an SMP response frame. */
void PrintSmpResponse(const U8* frame, U32 length);

#endif
