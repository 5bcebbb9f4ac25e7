// Where people look for an effect, and what they call it besides its name.
#pragma once

#include <QString>

#include "host/module.h"

namespace larkmoor {

struct EffectWords {
    QString group; ///< what kind of work it is for
    QString words; ///< for the search alone
    QString about; ///< one sentence: what it does
};

EffectWords effectWords(const EffectInfo& info);

} // namespace larkmoor
