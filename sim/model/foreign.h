// Foreign configurations of the simulated firmware: drives that carry a
// configuration written by another controller. A scan reports the
// configurations it can read (those with a present drive that is not
// locked); each can be read, read as the configuration after its import,
// imported (its arrays, logical drives and spares join this controller's
// configuration, with new array references and target ids where they
// clash) or cleared.
#ifndef TARSELSIM_MODEL_FOREIGN_H
#define TARSELSIM_MODEL_FOREIGN_H

#include <vector>

#include "kfistat.h"
#include "model/model.h"

namespace tarselsim {

// The foreign configuration that holds the drive (in an array or as a
// spare), or null.
const ForeignConfig* ForeignConfigOf(const Controller& c, U16 deviceId);
// Takes the drive out of every foreign configuration (its slot becomes
// missing); a configuration left without a present drive is gone.
void ForgetForeignDrive(Controller& c, U16 deviceId);

// Indices into c.foreign of the configurations a scan reports, in order.
std::vector<size_t> VisibleForeign(const Controller& c);
// The configurations a GUID index addresses: one by its place in the scan,
// or all of them with KV_FOREIGN_GUID_ALL on a controller with enhanced
// import. Otherwise the invalid-parameter status.
U32 AddressedForeign(const Controller& c, U8 index, std::vector<size_t>& which);

// The configuration record of the addressed foreign configurations. A
// logical drive that cannot be imported (it would be offline) carries
// target id 255. The size field covers the configuration after import as
// well, so that one size query serves both reads.
std::vector<U8> BuildForeignRecord(const Controller& c, const std::vector<size_t>& which);
// The controller as it would be after the import, in `result`; 0 or the
// refusal the import would give.
U32 PreviewImport(const Controller& c, const std::vector<size_t>& which, Controller& result);
// Refused: a locked drive or a drive in use (0x32), missing drives that
// leave a logical drive offline (0x3B), a secured configuration on a
// controller without a lock key (0x47), more logical drives or arrays than
// the controller holds (0x1A).
U32 ImportForeign(Library& lib, Controller& c, const std::vector<size_t>& which);
U32 ClearForeign(Library& lib, Controller& c, const std::vector<size_t>& which);

} // namespace tarselsim

#endif
