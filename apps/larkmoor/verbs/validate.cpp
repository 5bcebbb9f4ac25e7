#include <algorithm>
#include <random>
#include <thread>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "host/names.h"
#include "validate/checks.h"
#include "validate/children.h"
#include "verbs/describe.h"
#include "verbs/verb.h"

namespace larkmoor {

namespace {

using namespace validate;

constexpr const char* validateExamples =
    "  larkmoor validate\n  larkmoor validate --module ./liblarkmoor.so --level 5\n"
    "  larkmoor validate --effect Iris --check guards --seed 7 --json";

constexpr int levels = 5, usualLevel = 3, listSeconds = 30;
/// How often a check repeats what goes by chance, and how long it may take, by level.
constexpr int rounds[levels + 1] = {0, 1, 2, 4, 8, 16};
constexpr int seconds[levels + 1] = {0, 60, 60, 120, 240, 600};

std::string inShell(const std::string& word) {
    constexpr std::string_view plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/._-+";
    if (!word.empty() && word.find_first_not_of(plain) == std::string::npos) return word;
    std::string quoted = "'";
    for (const char c : word) quoted += c == '\'' ? "'\\''" : std::string(1, c);
    return quoted + "'";
}

/// A seed for one check of one effect, the same whichever others are run.
std::uint32_t seedOf(std::uint32_t seed, const CLSID& clsid, const std::string& check) {
    std::seed_seq mixed{seed, clsid.Data1, std::uint32_t{clsid.Data2},
                        static_cast<std::uint32_t>(std::hash<std::string>{}(check))};
    std::uint32_t result;
    mixed.generate(&result, &result + 1);
    return result;
}

class ValidateVerb final : public Verb {
  public:
    explicit ValidateVerb(CLI::App& command)
        : Verb(command, "validate", "Hold a module to the binary contract", validateExamples) {
        app().add_option("--effect", m_effect, "Only this effect, by name, description or class id")->type_name("NAME");
        app()
            .add_option("--level", m_level, "How much is tried: 1, seconds, to 5, minutes; 3 by default")
            ->check(CLI::Range(1, levels))
            ->type_name("N");
        app().add_option("--check", m_check, "Only this check")->type_name("NAME");
        app().add_option("--seed", m_seed, "What goes by chance; another each time by default")->type_name("N");
        app()
            .add_option("--jobs", m_jobs, "Checks at once; the machine's processors by default")
            ->check(CLI::Range(1, 256))
            ->type_name("N");
        app().add_flag("--json", m_json, "For programs");
    }

    void settle() override {
        std::vector<Candidate> names;
        for (const Check& check : checks()) names.push_back({check.name});
        const auto given = [&](const Check& check) { return m_check == check.name; };
        if (!m_check.empty() && std::ranges::none_of(checks(), given))
            throw UsageError(fmt::format("there is no check {}; {}", inQuotes(m_check), didYouMean(m_check, names)));
        if (!m_seed) m_seed = std::random_device()();
    }

    int start(const std::string& module, Report&) override {
        m_file = moduleFile(module);
        // A module that cannot be listed has failed, like one that fails a check.
        plan(nlohmann::json::parse(fromChild([&] { return list(); }, listSeconds)));
        if (!m_json) print(fmt::format("{}: level {}, seed {}\n", m_file, m_level, *m_seed)), finishPrinting();
        std::vector<Task> tasks;
        for (const Plan& each : m_plan) tasks.push_back({[this, &each] { check(each); }});
        const auto begin = std::chrono::steady_clock::now();
        runInChildren(tasks, m_jobs ? m_jobs : std::max(1u, std::thread::hardware_concurrency()), seconds[m_level],
                      [&](std::size_t i) { tell(m_plan[i], tasks[i]); });
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
        const auto failed = std::ranges::count_if(tasks, &Task::isFault);
        if (m_json)
            print(nlohmann::ordered_json{{"module", m_file},
                                         {"level", m_level},
                                         {"seed", *m_seed},
                                         {"passed", failed == 0},
                                         {"seconds", took.count()},
                                         {"checks", m_rows}}
                      .dump(2) +
                  "\n");
        else
            print(fmt::format("{} checks, {} failed, in {:.0f} s\n", tasks.size(), failed, took.count()));
        return failed == 0 ? 0 : 1;
    }

  private:
    struct Plan {
        std::string subject; ///< an effect's name, or what stands for the whole module
        CLSID clsid{};
        const Check* check = nullptr;
    };

    std::string list() const {
        auto rows = nlohmann::json::array();
        for (const Row& row : ForeignModule(m_file).rows())
            if (row.isEffect())
                rows.push_back({row.name(), row.description, row.clsid.Data1, row.clsid.Data2, row.clsid.Data3,
                                std::to_array(row.clsid.Data4)});
        return rows.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
    }

    void plan(const nlohmann::json& rows) {
        const auto add = [&](const std::string& subject, const CLSID& clsid, bool ofModule) {
            for (const Check& check : checks())
                if (check.ofModule == ofModule && (m_check.empty() ? check.level <= m_level : m_check == check.name))
                    m_plan.push_back({subject, clsid, &check});
        };
        if (m_effect.empty()) add("the module", {}, true);
        std::vector<Candidate> names;
        bool found = m_effect.empty();
        for (const auto& row : rows) {
            CLSID clsid{row[2], row[3], row[4], {}};
            std::ranges::copy(row[5].get<std::array<std::uint8_t, 8>>(), clsid.Data4);
            const std::string name = row[0], description = row[1];
            names.push_back({name, {description}});
            if (!m_effect.empty() && !sameName(m_effect, name) && !sameName(m_effect, description) &&
                !sameName(m_effect, idText(clsid)))
                continue;
            found = true;
            add(name, clsid, false);
        }
        if (!found)
            throw UsageError(fmt::format("there is no effect {} in {}; {}", inQuotes(m_effect), m_file,
                                         didYouMean(m_effect, names)));
    }

    void check(const Plan& planned) const {
        const ForeignModule module(m_file);
        Context context{module, planned.clsid, rounds[m_level],
                        std::mt19937(seedOf(*m_seed, planned.clsid, planned.check->name))};
        planned.check->run(context);
    }

    std::string repeats(const Plan& planned) const {
        std::string command = fmt::format("larkmoor validate --module {}", inShell(m_file));
        if (!planned.check->ofModule) command += " --effect " + inShell(planned.subject);
        return command + fmt::format(" --check {} --level {} --seed {}", planned.check->name, m_level, *m_seed);
    }

    void tell(const Plan& planned, const Task& task) {
        if (m_json) {
            nlohmann::ordered_json row{{"subject", planned.subject},
                                       {"check", planned.check->name},
                                       {"passed", !task.isFault},
                                       {"seconds", task.seconds}};
            if (task.isFault) row["fault"] = task.fault, row["repeat"] = repeats(planned);
            m_rows.push_back(std::move(row));
            return;
        }
        print(fmt::format("{:<24} {:<12} {:6.2f} s  {}\n", planned.subject, planned.check->name, task.seconds,
                          task.isFault ? "FAILED: " + task.fault : "passed"));
        if (task.isFault) print("    " + repeats(planned) + "\n");
        finishPrinting();
    }

    std::string m_effect, m_check, m_file;
    int m_level = usualLevel;
    unsigned m_jobs = 0;
    std::optional<std::uint32_t> m_seed;
    bool m_json = false;
    std::vector<Plan> m_plan;
    nlohmann::ordered_json m_rows = nlohmann::ordered_json::array();
};

} // namespace

std::unique_ptr<Verb> validateVerb(CLI::App& command) {
    return std::make_unique<ValidateVerb>(command);
}

} // namespace larkmoor
