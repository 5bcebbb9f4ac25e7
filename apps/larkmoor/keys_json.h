// Keys in readable files.
#pragma once

#include "json_node.h"
#include "keys.h"

namespace larkmoor {

/// Puts "keys", "from" and "to" where there is something to say.
void putKeys(Json& out, const EffectInfo& info, const std::vector<std::byte>& record, const Curves& curves,
             const Span& span);

/// Takes those of an effect, or the two records of an older file's "ramp".
Curves takeKeys(const Node& node, const EffectInfo& info, const std::vector<std::byte>& record, Values values);
Span takeSpan(const Node& node);

} // namespace larkmoor
