// SPDX-License-Identifier: Apache-2.0
// What a user is told when something fails: what happened, why, and what to do.
#include "errors/failure.h"

namespace kvn
{

Failure library_failure(int number, std::string text)
{
    Failure failure{.status = exit_status_of(number), .number = number, .what = std::move(text)};
    const ErrorEntry* entry = find_error(number);
    if (entry == nullptr)
        return failure;
    const TopicEntry* topic = find_topic(entry->topic);
    failure.why = plain_text(topic == nullptr ? entry->meaning : topic->causes);
    failure.remedy = plain_text(topic == nullptr || !entry->remedy.empty() ? entry->remedy : topic->remedy);
    return failure;
}

} // namespace kvn
