// What a module is held to, each thing by a name. A check throws Fault; crashes, hangs and leaks are its process's to
// tell.
#pragma once

#include <random>
#include <span>

#include "validate/subject.h"

namespace larkmoor::validate {

struct Context {
    const ForeignModule& module;
    CLSID clsid; ///< of the effect or generator
    int rounds;  ///< how often what goes by chance is tried
    std::mt19937 random;

    Subject make(unsigned processors = 1) const { return Subject(module, clsid, processors); }
    int below(int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); }
};

struct Check {
    const char* name;
    int level; ///< from which on it is run
    bool ofModule;
    void (*run)(Context& context);
};

/// In the order in which they are run.
std::span<const Check> checks();

/// Bits in place of some of a record's numbers: real and whole ones, infinite ones and such as are none.
std::vector<std::byte> wildRecord(Context& context, std::vector<std::byte> record);

// Of the whole module.
void checkMap(Context& context);
void checkExports(Context& context);
// Of each effect and generator.
void checkContract(Context& context);
void checkNulls(Context& context);
void checkAggregation(Context& context);
void checkRecords(Context& context);
void checkPresets(Context& context);
void checkPersistence(Context& context);
void checkPages(Context& context);
void checkFrames(Context& context);
void checkLayouts(Context& context);
void checkGuards(Context& context);
void checkDeterminism(Context& context);
void checkThreads(Context& context);
void checkRefusals(Context& context);
void checkLeaks(Context& context);
void checkOrder(Context& context);
void checkTiming(Context& context);

} // namespace larkmoor::validate
