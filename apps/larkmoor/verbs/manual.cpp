#include <filesystem>

#include <fmt/format.h>

#include "output_file.h"
#include "verbs/verb.h"

namespace larkmoor {

namespace {

/// Text that troff takes as it stands.
std::string plain(std::string_view text) {
    std::string out;
    for (const char c : text) {
        if ((c == '.' || c == '\'') && (out.empty() || out.back() == '\n')) out += "\\&";
        if (c == '\\')
            out += "\\e";
        else if (c == '-')
            out += "\\-";
        else
            out += c;
    }
    return out;
}

/// One page (man-pages(7)) from the same table as --help.
std::string pageOf(const CLI::App& app, std::string_view version) {
    const CLI::App* const parent = app.get_parent();
    const std::string name = parent ? parent->get_name() + "-" + app.get_name() : app.get_name();
    std::string title = name;
    for (char& c : title) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    std::string page = fmt::format(
        ".TH {} 1 \"\" \"Larkmoor {}\" \"Larkmoor\"\n.SH NAME\n{} \\- {}\n.SH SYNOPSIS\n.B {}\n", plain(title), version,
        plain(name), plain(app.get_description()), plain(parent ? parent->get_name() + " " + app.get_name() : name));
    const CLI::Formatter words;
    const auto verbs = app.get_subcommands([](const CLI::App* verb) { return !verb->get_group().empty(); });
    std::string table;
    for (const bool isPositional : {true, false})
        for (const CLI::Option* option :
             app.get_options([](const CLI::Option* o) { return !o->get_group().empty(); })) {
            if (option->get_positional() != isPositional) continue;
            const std::string type = words.make_option_opts(option);
            const std::string label = words.make_option_name(option, isPositional);
            table += fmt::format(".TP\n\\fB{}\\fR{}\n{}\n", plain(label), plain(type),
                                 plain(words.make_option_desc(option)));
            if (isPositional) page += fmt::format("\\fI{}\\fR\n", plain(label));
        }
    page += verbs.empty() ? "[\\fIOPTIONS\\fR]\n" : "[\\fIOPTIONS\\fR] \\fIVERB\\fR ...\n";
    if (!verbs.empty()) page += ".SH VERBS\n";
    for (const CLI::App* verb : verbs)
        page += fmt::format(".TP\n\\fB{}\\fR\n{}; see\n.BR {}\\-{} (1).\n", plain(verb->get_name()),
                            plain(verb->get_description()), plain(name), plain(verb->get_name()));
    page += ".SH OPTIONS\n" + table;
    std::string footer = app.get_footer();
    if (const std::string_view head = "Examples:\n"; footer.starts_with(head))
        page += ".SH EXAMPLES\n.nf\n" + plain(footer.substr(head.size())) + "\n.fi\n";
    page += ".SH SEE ALSO\n";
    page += parent ? fmt::format(".BR {} (1)\n", plain(parent->get_name())) : ".BR larkmoor\\-studio (1)\n";
    return page;
}

class ManualVerb final : public Verb {
  public:
    explicit ManualVerb(CLI::App& command) : Verb(command, "manual", "Write the manual's pages into a folder") {
        app().group("");
        app().add_option("FOLDER", m_folder)->required();
    }

    int run(const Module&, Report&) override {
        const CLI::App& command = *app().get_parent();
        const std::string version = command.version();
        const auto write = [&](const CLI::App& of, const std::string& name) {
            writeWhole((std::filesystem::path(m_folder) / (name + ".1")).string(), pageOf(of, version), true);
        };
        write(command, command.get_name());
        for (const CLI::App* verb : command.get_subcommands({}))
            if (!verb->get_group().empty()) write(*verb, command.get_name() + "-" + verb->get_name());
        return 0;
    }

  private:
    std::string m_folder;
};

} // namespace

std::unique_ptr<Verb> manualVerb(CLI::App& command) {
    return std::make_unique<ManualVerb>(command);
}

} // namespace larkmoor
