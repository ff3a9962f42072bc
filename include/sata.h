// SATA interface definitions: the register host-to-device FIS, the ATA
// commands and the ATA PASS-THROUGH CDB used to download drive microcode.
#ifndef SATA_H
#define SATA_H

#include "tarsel.h"

/* FIS types */
#define SATA_FIS_TYPE_REG_H2D 0x27
#define SATA_FIS_TYPE_REG_D2H 0x34

/* Register host-to-device FIS: byte 1 bit 7 says the FIS carries a command. */
#define SATA_FIS_H2D_COMMAND_BIT 0x80
#define SATA_FIS_LEN 20

/* Byte offsets inside a register host-to-device FIS. */
enum {
    SATA_FIS_OFF_TYPE = 0,
    SATA_FIS_OFF_FLAGS = 1,
    SATA_FIS_OFF_COMMAND = 2,
    SATA_FIS_OFF_FEATURES = 3,
    SATA_FIS_OFF_LBA_LOW = 4,
    SATA_FIS_OFF_LBA_MID = 5,
    SATA_FIS_OFF_LBA_HIGH = 6,
    SATA_FIS_OFF_DEVICE = 7,
    SATA_FIS_OFF_COUNT = 12,
    SATA_FIS_OFF_COUNT_EXP = 13
};

/* Register device-to-host FIS: status at byte 2, error at byte 3. */
#define SATA_FIS_D2H_OFF_STATUS 2
#define SATA_FIS_D2H_OFF_ERROR 3
#define SATA_STATUS_DRDY 0x40
#define SATA_STATUS_DSC 0x10
#define SATA_STATUS_ERR 0x01
#define SATA_ERROR_ABRT 0x04

/* ATA commands */
#define ATA_CMD_DOWNLOAD_MICROCODE 0x92
#define ATA_CMD_IDENTIFY_DEVICE 0xEC
#define ATA_CMD_READ_SECTORS 0x20
#define ATA_CMD_WRITE_SECTORS 0x30
/* Error register bit: the address was not found */
#define SATA_ERROR_IDNF 0x10

/* IDENTIFY DEVICE data: 256 little-endian words; texts are ASCII with the
   two bytes of each word swapped. Word positions: */
#define ATA_ID_SERIAL 10      /* 10 words */
#define ATA_ID_FIRMWARE 23    /* 4 words */
#define ATA_ID_MODEL 27       /* 20 words */
#define ATA_ID_LBA28 60       /* 2 words */
#define ATA_ID_LBA48 100      /* 4 words */
#define ATA_ID_ROTATION 217   /* 1: solid state */
#define ATA_ID_INTEGRITY 255  /* 0xA5 and a checksum byte */
/* DOWNLOAD MICROCODE features: download the whole image and save it */
#define ATA_DOWNLOAD_MICROCODE_SAVE 0x07
/* Device register: LBA addressing */
#define ATA_DEVICE_LBA 0x40
#define ATA_DEVICE_OBSOLETE_BITS 0xA0

#define ATA_SECTOR_SIZE 512

/* ATA PASS-THROUGH (12) CDB */
#define ATA_PASS_THROUGH_12 0xA1
#define ATA_PASS_THROUGH_12_LEN 12
/* byte 1: protocol PIO data-out (5) in bits 1-4 */
#define ATA_PT_PROTOCOL_PIO_OUT 0x0A
/* byte 2: off-line 3, check condition, transfer to the device, length in blocks from the count */
#define ATA_PT_DOWNLOAD_FLAGS 0xC6

#endif
