#include "verbs/verb.h"

#include <cerrno>
#include <cstdio>

#include "output_file.h"

namespace larkmoor {

Verb::Verb(CLI::App& command, const std::string& name, const std::string& help, const std::string& examples)
    : m_app(command.add_subcommand(name, help)) {
    if (!examples.empty()) m_app->footer("Examples:\n" + examples);
}

int Verb::start(const std::string& module, Report& report) {
    removeOutputsOnSignals();
    return run(Module::load(module), report);
}

int exitCode(Ended ended) {
    constexpr int damaged = 3;
    return ended == Ended::Damaged ? damaged : 0;
}

namespace {

int printError = 0;

} // namespace

void print(std::string_view text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() && printError == 0) printError = errno;
}

int finishPrinting() {
    if (std::fflush(stdout) != 0 && printError == 0) printError = errno;
    return printError;
}

} // namespace larkmoor
