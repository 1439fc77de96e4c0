// SPDX-License-Identifier: Apache-2.0
// What happens before the first byte of a load: the file is inspected and compared with the module.
#ifndef KVN_ENGINE_MODULE_LOAD_PREPARATION_H
#define KVN_ENGINE_MODULE_LOAD_PREPARATION_H

#include "errors/failure.h"
#include "file/inspection.h"
#include "module/device_check.h"
#include "module/list.h"
#include "module/load.h"
#include "module/record.h"

namespace kvn
{

/// The steps before a load, each once and in their order. Each writes what it finds out into the record, and
/// throws FailureError for what must not be loaded. None reaches the module: what it has answered is given.
class LoadPreparation
{
public:
    /// Notes what is known without a step.
    /// @param request and record must outlive this
    /// @param provider that the module is reached by
    LoadPreparation(const LoadRequest& request, const ProviderIdentity& provider, Record& record);

    /// Inspects the file, or recalls what is known of it (LoadRequest::judged).
    void take_up_file();
    /// Takes what the module has said of itself.
    void note_module(const SlotRow& slot);
    /// Compares the module's device with what the user expects and with the file.
    void compare_devices();
    /// Chooses plain or compressed, and finds out what will be sent.
    void choose_mode();
    /// Tries the load on a virtual module, unless it is known how that ends.
    void judge_file();

    [[nodiscard]] const Inspection& inspection() const { return inspection_; }
    /// Valid after choose_mode().
    [[nodiscard]] LoadKind mode() const { return mode_; }
    /// What was found out, for a load elsewhere.
    [[nodiscard]] JudgedFile judged() const;

private:
    void inspect_file();
    void recall_file(const JudgedFile& judged);
    void require_judged_device(const JudgedFile& judged) const;
    void recall_mode(const JudgedFile& judged);
    void refuse_if_unfit() const;
    [[nodiscard]] const std::string& file_name() const { return request_.file->name(); }
    [[nodiscard]] std::string module_text() const { return to_text(request_.module); }

    const LoadRequest& request_;
    Record& record_;
    Inspection inspection_;
    KnownDevice device_;
    bool takes_compressed_ = false;
    LoadKind mode_ = LoadKind::plain;
};

} // namespace kvn

#endif
