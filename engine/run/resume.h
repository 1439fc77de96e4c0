// SPDX-License-Identifier: Apache-2.0
// What a run that was not finished leaves to do.
#ifndef KVN_ENGINE_RUN_RESUME_H
#define KVN_ENGINE_RUN_RESUME_H

#include "errors/failure.h"
#include "run/journal_reader.h"

#include <optional>
#include <string>
#include <vector>

namespace kvn
{

/// The run that shall go on where a journal ends, as the rehearsal knows it now.
struct ResumeRequest {
    Json planned;                       ///< the modules of planned_event()
    std::string plan_sha256;            ///< of the plan's bytes
    std::optional<std::string> host;    ///< host_name()
    std::optional<std::string> boot_id; ///< system::boot_id()
    Json provider;                      ///< to_json(const ProviderIdentity&)
    bool despite_changes = false;       ///< --resume-anyway
};

/// A module that is not loaded again.
struct KeptModule {
    std::string module;
    Json record;     ///< of the journal, for kept_event()
    std::string why; ///< "configured at 2026-11-22T03:44:41.250Z from design.bit, as rack.journal says"
};

/// What remains of a run.
struct Resumption {
    std::vector<std::string> remaining; ///< modules to be loaded, in the order of the plan
    std::vector<KeptModule> kept; ///< in the order of the plan; with `remaining` it makes up the whole plan
    std::vector<std::string>
        changes; ///< how plan, files, host or provider differ from the journal's, a sentence each
    std::vector<std::string> notes; ///< what a user should know: another boot, a torn line
    std::optional<Failure> refusal; ///< nothing may be loaded: ExitStatus::rehearsal
    ContinuedJournal continues;     ///< for the header of the new journal
};

/// Compares a journal with what is planned now. Pure: it reads and writes nothing.
///
/// A module is kept when the journal has it configured, from the same file, in the same boot of the same
/// host. After another boot, or when the boot is not known, everything remains, and a note says so. Whatever
/// differs between then and now is in `changes`, and refuses the run unless `despite_changes`: then modules
/// whose file, device or mode changed remain, as do all when host or provider did. A journal that is damaged
/// or still being written always refuses the run.
/// @throws std::bad_alloc
[[nodiscard]] Resumption resume(const JournalContent& journal, const ResumeRequest& request);

} // namespace kvn

#endif
