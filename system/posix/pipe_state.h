// SPDX-License-Identifier: Apache-2.0
// An end of a pipe is a descriptor that does not wait.
#ifndef KVN_SYSTEM_POSIX_PIPE_STATE_H
#define KVN_SYSTEM_POSIX_PIPE_STATE_H

#include "system/descriptor.h"
#include "system/pipe.h"

namespace kvn::system
{

struct PipeReader::State {
    Descriptor descriptor;
};

struct PipeWriter::State {
    Descriptor descriptor;
};

} // namespace kvn::system

#endif
