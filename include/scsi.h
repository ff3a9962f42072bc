// SCSI values shared by the SCSI passthrough of the tool and the drives of
// the simulated library: operation codes, status, sense keys and the
// additional sense codes the passthrough reports and decodes.
#ifndef SCSI_H
#define SCSI_H

/* ---- operation codes ---- */
#define SCSI_TEST_UNIT_READY 0x00
#define SCSI_INQUIRY 0x12
#define SCSI_MODE_SENSE_6 0x1A
#define SCSI_READ_CAPACITY_10 0x25
#define SCSI_READ_10 0x28
#define SCSI_LOG_SENSE 0x4D
#define SCSI_MODE_SENSE_10 0x5A
#define SCSI_SERVICE_ACTION_IN_16 0x9E
#define SCSI_SA_READ_CAPACITY_16 0x10

/* ---- INQUIRY ---- */
#define SCSI_INQUIRY_EVPD 0x01
#define SCSI_VPD_SUPPORTED_PAGES 0x00
#define SCSI_VPD_UNIT_SERIAL 0x80
#define SCSI_VPD_DEVICE_ID 0x83

/* ---- LOG SENSE pages; byte 2 = page control (cumulative 0x40) | page ---- */
#define SCSI_LOG_PC_CUMULATIVE 0x40
#define SCSI_LOG_SUPPORTED_PAGES 0x00
#define SCSI_LOG_TEMPERATURE 0x0D

/* ---- MODE SENSE pages ---- */
#define SCSI_MODE_DBD 0x08
#define SCSI_MODE_CACHING 0x08
#define SCSI_MODE_CONTROL 0x0A
#define SCSI_MODE_ALL_PAGES 0x3F

/* ---- status ---- */
#define SCSI_STATUS_GOOD 0x00
#define SCSI_STATUS_CHECK_CONDITION 0x02

/* ---- sense data (fixed format: response code 0x70, key at byte 2,
   additional length at 7, ASC at 12, ASCQ at 13; descriptor format 0x72:
   key at 1, ASC at 2, ASCQ at 3) ---- */
#define SCSI_SENSE_FIXED_CURRENT 0x70
#define SCSI_SENSE_FIXED_DEFERRED 0x71
#define SCSI_SENSE_DESC_CURRENT 0x72
#define SCSI_SENSE_DESC_DEFERRED 0x73
#define SCSI_SENSE_FIXED_LENGTH 18

#define SCSI_KEY_NO_SENSE 0x0
#define SCSI_KEY_NOT_READY 0x2
#define SCSI_KEY_MEDIUM_ERROR 0x3
#define SCSI_KEY_ILLEGAL_REQUEST 0x5

#define SCSI_ASC_INVALID_OPCODE 0x20
#define SCSI_ASC_LBA_OUT_OF_RANGE 0x21
#define SCSI_ASC_INVALID_FIELD_IN_CDB 0x24

#endif
