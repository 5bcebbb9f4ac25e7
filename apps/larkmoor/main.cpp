#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <new>
#include <string_view>

#include <unistd.h>

#include <fmt/format.h>

#include "host/names.h"
#include "standard_files.h"
#include "verbs/verb.h"

using namespace larkmoor;

namespace {

constexpr int exitFailed = 1, exitUsage = 2, exitSignal = 128;

class Command {
  public:
    explicit Command(Report& report) : m_report(report) {
        m_app.require_subcommand(1);
        m_app.fallthrough();
        m_app.set_version_flag("--version", LARKMOOR_VERSION);
        m_app.footer("`larkmoor VERB --help` tells a verb's options and gives examples.");
        m_app.add_flag("--verbose", m_verbose, "Let FFmpeg say on standard error what it does");
        m_app.add_option("--module", m_module, "The module's file, where it is not the installed one")
            ->type_name("FILE");
        m_app.add_flag("--quiet", m_quiet, "No notes and no progress, only errors");
        m_app.add_option("--progress", m_progress, "json: notes, errors and progress as one object a line")
            ->check(CLI::IsMember({"json"}))
            ->type_name("json")
            ->excludes("--quiet");
        m_app.add_flag("--memory", m_memory, "Tell at the end how much memory the work took at most");
        for (auto* make :
             {&listVerb, &showVerb, &renderVerb, &joinVerb, &generateVerb, &lutVerb, &presetsVerb, &validateVerb,
              &splitVerb, &workVerb, &mergeVerb, &statusVerb, &submitVerb, &manualVerb, &completeVerb})
            m_verbs.push_back(make(m_app));
    }

    int run(int count, char** arguments) {
        try {
            m_app.parse(count, arguments);
        } catch (const CLI::Success& success) {
            return m_app.exit(success);
        } catch (const CLI::ParseError& error) {
            throw UsageError(mistake(error));
        }
        if (m_quiet) m_report.setForm(Report::Form::Quiet);
        if (!m_progress.empty()) m_report.setForm(Report::Form::Json);
        m_report.setMemoryTold(m_memory);
        quietLog(m_verbose);
        Verb& verb = **std::ranges::find_if(m_verbs, [](const auto& each) { return each->isGiven(); });
        verb.settle();
        return verb.start(m_module, m_report);
    }

  private:
    /// What is wrong with the arguments: first what nothing takes, which is often why something else is missing.
    std::string mistake(const CLI::ParseError& error) const {
        const auto given = m_app.get_subcommands();
        const CLI::App& app = given.empty() ? m_app : *given.front();
        const std::string name = given.empty() ? "larkmoor" : "larkmoor " + app.get_name();
        for (const std::string& word : m_app.remaining(true)) {
            if (word == "--") continue;
            if (word.size() > 1 && word.starts_with('-'))
                return fmt::format("there is no option {} of `{}`; {}", word, name, didYouMean(word, options(app)));
            if (given.empty()) return fmt::format("there is no verb {}; {}", inQuotes(word), didYouMean(word, verbs()));
            return fmt::format("{} is one argument too many; `{} --help` tells what goes with it", inQuotes(word),
                               name);
        }
        if (given.empty()) return "no verb given; `larkmoor --help` names them";
        std::string sentence = error.what();
        if (dynamic_cast<const CLI::ArgumentMismatch*>(&error)) {
            const std::string option = sentence.substr(0, sentence.find(':'));
            const CLI::Option* found = app.get_option_no_throw(option);
            sentence = option + (found && found->count() > 1 ? " is given more than once" : " needs a value");
        }
        return fmt::format("{}; `{} --help` tells more", sentence, name);
    }

    std::vector<Candidate> verbs() const {
        std::vector<Candidate> names;
        for (const CLI::App* verb : m_app.get_subcommands({}))
            if (!verb->get_group().empty()) names.push_back({verb->get_name()});
        return names;
    }

    std::vector<Candidate> options(const CLI::App& app) const {
        std::vector<Candidate> names;
        for (const CLI::App* each : {&app, &std::as_const(m_app)})
            for (const CLI::Option* option : each->get_options())
                if (option->nonpositional()) names.push_back({option->get_name()});
        return names;
    }

    Report& m_report;
    CLI::App m_app{"Video effects for pictures, clips and raw frames.", "larkmoor"};
    bool m_verbose = false, m_quiet = false, m_memory = false;
    std::string m_module, m_progress;
    std::vector<std::unique_ptr<Verb>> m_verbs;
};

/// Libraries let exceptions out of functions that promise to throw none. Where memory was short that is told like
/// everywhere else; unfinished files stay under their temporary names.
[[noreturn]] void end() {
    try {
        if (const std::exception_ptr thrown = std::current_exception()) std::rethrow_exception(thrown);
    } catch (const std::bad_alloc&) {
        constexpr std::string_view sentence = "larkmoor: memory is short\n";
        [[maybe_unused]] const ssize_t told = ::write(STDERR_FILENO, sentence.data(), sentence.size());
        std::_Exit(exitFailed);
    } catch (...) {
    }
    std::abort();
}

} // namespace

int main(int count, char** arguments) {
    std::set_terminate(&end);
    settleStandardFiles();
    Report report;
    try {
        const int status = Command(report).run(count, arguments);
        const int failed = finishPrinting();
        if (failed == 0) return status;
        // Whoever read it, such as `head`, has seen enough.
        if (failed == EPIPE) return exitSignal + SIGPIPE;
        throw Error("cannot write to standard output");
    } catch (const UsageError& error) {
        report.error(error.what());
        return exitUsage;
    } catch (const std::bad_alloc&) {
        report.error("memory is short");
        return exitFailed;
    } catch (const std::exception& error) {
        report.error(error.what());
        return exitFailed;
    }
}
