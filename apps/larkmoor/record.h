// Effects' records from files and their values.
#pragma once

#include <span>
#include <vector>

#include "host/module.h"

namespace larkmoor {

/// Whether values beyond what an effect's page takes are refused.
enum class Values { Checked, Unchecked };

/// Throws UsageError that names a field whose value lies beyond its range.
void checkField(const tFieldInfo& field, std::span<const std::byte> record);
void checkRecord(const EffectInfo& info, std::span<const std::byte> record);

/// The record of a saved state. Throws Error for what is none, as far as that can be told: states have no mark, but
/// each effect's has its size.
std::vector<std::byte> recordOfState(const Module& module, const EffectInfo& info, std::span<const std::byte> state);

} // namespace larkmoor
