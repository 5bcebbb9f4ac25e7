// What the command can do, each thing under a word of its own.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <CLI/CLI.hpp>

#include "host/module.h"
#include "report.h"

namespace larkmoor {

class Verb {
  public:
    Verb(CLI::App& command, const std::string& name, const std::string& help, const std::string& examples = {});
    virtual ~Verb() = default;
    Verb(const Verb&) = delete;
    Verb& operator=(const Verb&) = delete;

    bool isGiven() const { return m_app->parsed(); }
    /// Texts into values, before anything is loaded or opened. Throws UsageError.
    virtual void settle() {}
    /// Does it with the module of that file; a verb that works without a loaded module has a `start` of its own.
    /// @return the exit code. Throws UsageError for wrong use and Error for failures.
    virtual int start(const std::string& module, Report& report);

  protected:
    virtual int run(const Module&, Report&) { return 0; }
    CLI::App& app() const { return *m_app; }

  private:
    CLI::App* m_app;
};

std::unique_ptr<Verb> listVerb(CLI::App& command);
std::unique_ptr<Verb> showVerb(CLI::App& command);
std::unique_ptr<Verb> renderVerb(CLI::App& command);
std::unique_ptr<Verb> joinVerb(CLI::App& command);
std::unique_ptr<Verb> generateVerb(CLI::App& command);
std::unique_ptr<Verb> lutVerb(CLI::App& command);
std::unique_ptr<Verb> presetsVerb(CLI::App& command);
std::unique_ptr<Verb> validateVerb(CLI::App& command);
std::unique_ptr<Verb> splitVerb(CLI::App& command);
std::unique_ptr<Verb> workVerb(CLI::App& command);
std::unique_ptr<Verb> mergeVerb(CLI::App& command);
std::unique_ptr<Verb> statusVerb(CLI::App& command);
std::unique_ptr<Verb> submitVerb(CLI::App& command);
// For packages and shells; not told by --help.
std::unique_ptr<Verb> manualVerb(CLI::App& command);
std::unique_ptr<Verb> completeVerb(CLI::App& command);

/// The exit code of a verb that renders.
int exitCode(Ended ended);

/// Writes to standard output; whether that failed is asked once, at the end.
void print(std::string_view text);
/// Writes what is held back. @return the error of the first write that failed, 0 for none.
int finishPrinting();

} // namespace larkmoor
