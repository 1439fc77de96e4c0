// SPDX-License-Identifier: Apache-2.0
// The JSON documents about providers, boards and loads.
#ifndef KVN_ENGINE_REPORT_DOCUMENTS_H
#define KVN_ENGINE_REPORT_DOCUMENTS_H

#include "file/input.h"
#include "module/list.h"
#include "module/provider.h"
#include "module/record.h"
#include "report/json.h"

#include <span>

namespace kvn
{

/// The document "provider".
[[nodiscard]] Json provider_document(const ProviderIdentity& provider);
/// The document "file": what was read, before anybody looks into it.
[[nodiscard]] Json file_document(const Input& file);
/// The document "boards", for whole boards.
[[nodiscard]] Json boards_document(const ProviderIdentity& provider, std::span<const BoardRow> boards);
/// The document "boards", for one slot.
[[nodiscard]] Json slot_document(const ProviderIdentity& provider, const SlotRow& slot);
/// The document "record". Its member "error" is null if the record has no failure.
[[nodiscard]] Json record_document(const Record& record);

} // namespace kvn

#endif
