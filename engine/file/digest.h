// SPDX-License-Identifier: Apache-2.0
// One fingerprint for a design, whatever form of file holds it.
//
// Hashed are the plain configuration data as the library's readers deliver them, the first configuration bit
// in bit 0 of byte 0, without run coding and headers, in the size that the header states. Ones at the end do
// not count: they are what files are lengthened with (to whole words, or beyond the tail that plain loads
// hold back), and the ports of all families pass over them. So: the last byte, if it is not whole, is filled
// up with ones, and the bytes FF at the end are left out. The data of the packet families end in other words,
// so that their digest is the SHA-256 of all of their data.
#ifndef KVN_ENGINE_FILE_DIGEST_H
#define KVN_ENGINE_FILE_DIGEST_H

#include "file/inspection.h"

#include <cstdint>
#include <string>

namespace kvn
{

struct Digest {
    std::string sha256; ///< 64 lower-case hexadecimal digits
    std::uint64_t bits =
        0; ///< of configuration in the file; the forms of one design may differ in ones at the end
};

/// The digest of a file that was inspected.
/// Throws FailureError of ExitStatus::damaged when the file is no bitstream, or its data are cut or damaged;
/// then the first problem that stops loads says why. A file that no module takes for another reason has a
/// digest.
[[nodiscard]] Digest digest_of(const Inspection& inspection);

/// The same for a file that was not inspected yet. Throws FailureError as above, and std::bad_alloc.
[[nodiscard]] Digest digest_of(const Input& input);

} // namespace kvn

#endif
