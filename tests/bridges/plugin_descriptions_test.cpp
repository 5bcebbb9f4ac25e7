// What editors and users are told of the frei0r plug-ins.
#include "bridges/plugin_file.h"

#include <cmath>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "descriptions.h"

namespace {

using namespace larkmoor;
using namespace larkmoor::frei0r;

TEST(Frei0rDescriptions, EditorsBeginWithWhatShows) {
    const std::pair<const char*, const char*> starts[] = {
        {"larkmoor_sepia", "Warm"}, {"larkmoor_black_and_white", "100% Black and White"}, {"larkmoor_levels", "none"}};
    for (const auto& [name, preset] : starts) {
        const Plugin& plugin = pluginNamed(name);
        const auto& choices = plugin.parameters[0].choices;
        const auto at = static_cast<double>(std::ranges::find(choices, preset) - choices.begin());
        const auto value = fmt::format("type=\"list\" name=\"0\" default=\"{:.6g}\"", plugin.parameters[0].normal(at));
        EXPECT_NE(kdenliveOf(plugin).text.find(value), std::string::npos) << name << ": " << value;
        const auto row = fmt::format("property: '0', title: 'Preset', help: 'Puts a preset in the place of the other "
                                     "settings.', initial: '{:.15g}'",
                                     plugin.parameters[0].normal(at));
        EXPECT_NE(shotcutOf(plugin).at(1).text.find(row), std::string::npos) << name << ": " << row;
    }
}

TEST(Frei0rDescriptions, KdenlivesSlidersCountInTheFieldsOwnUnit) {
    const std::regex sliders("type=\"(?:animated|constant)\" default=\"(.*?)\" min=\"(.*?)\" max=\"(.*?)\" "
                             "decimals=\"(.*?)\".*? name=\"(.*?)\">\\s*<name>(.*?)</name>");
    // It cuts defaults to six digits, and looks them up in lists as text.
    const std::regex lists("type=\"list\" name=\"(.*?)\" default=\"(.*?)\" paramlist=\"(.*?)\"");
    const auto cut = [](const std::string& number) { return fmt::format("{:g}", std::stod(number)); };
    for (const Plugin& plugin : catalog().plugins()) {
        const std::string text = kdenliveOf(plugin).text;
        std::set<std::string> shown;
        for (std::sregex_iterator it(text.begin(), text.end(), lists), end; it != end; ++it) {
            const Parameter& parameter = plugin.parameters.at(std::stoul((*it)[1]));
            std::istringstream values((*it)[3]);
            std::vector<double> real;
            bool found = false;
            for (std::string value; std::getline(values, value, ';');) {
                found |= value == cut((*it)[2]);
                real.push_back(parameter.real(std::stod(value)));
            }
            EXPECT_TRUE(found) << plugin.fileName << " " << (*it)[0];
            for (std::size_t i = 0; i < real.size(); ++i) EXPECT_EQ(real[i], real[0] + static_cast<double>(i));
        }
        for (std::sregex_iterator it(text.begin(), text.end(), sliders), end; it != end; ++it) {
            const auto number = [&](std::size_t group) { return std::stod((*it)[group]); };
            const Parameter& set = plugin.parameters.at(static_cast<std::size_t>(number(5)));
            const Parameter& told = set.role == Role::OwnUnit ? plugin.parameters[set.twin] : set;
            SCOPED_TRACE(plugin.fileName + " " + set.name);
            EXPECT_EQ((*it)[6], told.title);
            EXPECT_TRUE(shown.insert(told.name).second);
            EXPECT_EQ(number(2), told.minimum);
            EXPECT_NEAR(number(3), told.maximum, 1e-8);
            EXPECT_EQ(set.lowest(), told.minimum);
            EXPECT_EQ(set.highest(), told.maximum);
            EXPECT_NEAR(number(1), told.real(std::get<double>(told.initial)), 1e-9 * told.maximum);
            // But for one that nobody tells from its neighbours.
            EXPECT_TRUE(std::stod(cut((*it)[1])) == std::get<double>(set.initial) || set.name == "seedReal");
            // A step of the display is a thousandth of the range at most, where it is not the unit itself.
            EXPECT_TRUE(std::pow(10, -number(4)) <= (told.maximum - told.minimum) / 1000 || told.whole);
            EXPECT_TRUE(!told.whole || number(4) == 0);
        }
        for (std::size_t i = 0; i < plugin.parameters.size(); ++i) {
            const Parameter& own = plugin.parameters[i];
            if (own.role != Role::OwnUnit) continue;
            SCOPED_TRACE(plugin.fileName + " " + own.name);
            EXPECT_TRUE(shown.contains(plugin.parameters[own.twin].name));
            EXPECT_THAT(mltOf(plugin).text,
                        testing::HasSubstr(fmt::format("minimum: {:.10g}\n    maximum: {:.10g}\n    default: {:.15g}\n",
                                                       own.minimum, own.maximum, std::get<double>(own.initial))));
            // Whose page counts in the field's unit anyway.
            for (const Description& one : shotcutOf(plugin))
                EXPECT_THAT(one.text, testing::Not(testing::HasSubstr(fmt::format("property: '{}'", i))));
        }
    }
}

TEST(Frei0rDescriptions, KdenlivesGroupsHoldEveryFilterOnce) {
    const std::string text = kdenliveGroupsOf(catalog().plugins()).text;
    const std::regex groups("<group list=\"(.*?)\"><text>Larkmoor: (.*?)</text></group>\n");
    std::multiset<std::string> grouped, filters;
    for (std::sregex_iterator it(text.begin(), text.end(), groups), end; it != end; ++it) {
        std::istringstream list((*it)[1]);
        for (std::string id; std::getline(list, id, ',');) grouped.insert(id + " in " + (*it)[2].str());
    }
    for (const Plugin& plugin : catalog().plugins())
        if (plugin.type == F0R_PLUGIN_TYPE_FILTER)
            filters.insert("frei0r." + plugin.fileName + " in " + plugin.info->family);
    EXPECT_EQ(grouped, filters);
    EXPECT_EQ(std::regex_replace(text, groups, ""), "");
}

// Users of hosts that set by position count on the order.
TEST(Frei0rDescriptions, ReferencePageTellsTheParametersInTheirOrder) {
    std::ifstream file(LARKMOOR_SOURCE_FOLDER "/docs/plug-in-parameters.md");
    std::stringstream page;
    page << file.rdbuf();
    for (const Plugin& plugin : catalog().plugins()) {
        if (page.str().find("\n## " + plugin.fileName + "\n") == std::string::npos) continue;
        EXPECT_NE((page.str() + "\n").find("\n" + referenceOf(plugin) + "\n"), std::string::npos)
            << "the page tells otherwise than\n"
            << referenceOf(plugin)
            << "if nobody uses the old order: larkmoor-frei0r-describe MODULE > docs/plug-in-parameters.md";
    }
    EXPECT_NE(page.str().find("## larkmoor_gaussian_blur\n"), std::string::npos);
}

} // namespace
