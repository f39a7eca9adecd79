#include "tests/chaos/ChaosPolicy.h"

#include <filesystem>
#include <fstream>
#include <utility>

#include "settings/Config.h"
#include "settings/ConfigStore.h"

namespace quelto::chaos {

namespace {

// One line of a file and what it does to the policy.
struct Line {
    enum class Effect { none, live, armAll, arm, exclude };
    std::string text;
    Effect effect = Effect::none;
    bool value = false;  // for `live`
    std::string id;      // for `arm` and `exclude`

    Line(std::string text, Effect effect = Effect::none, bool value = false, std::string id = {})
        : text(std::move(text)), effect(effect), value(value), id(std::move(id)) {}
};

Line liveLine(ChaosRandom& random) {
    static const std::vector<std::pair<std::string, bool>> variants = {
        {"live = true", true},
        {"LIVE = TRUE", true},
        {"live=1", true},
        {"Live = True   # on", true},
        {"\tlive\t=\ttrue\t", true},
        {"live\u00A0=\u2003true\u3000", true},
        {"live = false", false},
        {"live = yes", false},
        {"live = on", false},
        {"live =", false},
        {"live = 0", false},
        {"LIVE = FALSE # paused", false},
    };
    const auto& [text, value] = random.pick(variants);
    return {text, Line::Effect::live, value, {}};
}

Line modeLine(ChaosRandom& random) {
    static const std::vector<std::string> variants = {
        "mode = red-dot", "Mode = Red-Dot", "mode = last-window",     "MODE = LAST-WINDOW",
        "mode = reddot",  "mode =",         "mode = red-dot # try it"};
    return {random.pick(variants)};
}

Line escapeLine(ChaosRandom& random) {
    static const std::vector<std::string> variants = {
        "escape = shift", "escape = OPTION", "escape = none", "Escape = Option # alt",
        "escape = alt",   "escape =",        "escape = Shift"};
    return {random.pick(variants)};
}

// "key = id" in one of several hands; the id as the program must read it, or none.
Line idLine(ChaosRandom& random, const std::string& key, const std::string& id,
            Line::Effect effect) {
    std::string upper = key;
    for (char& c : upper) c = static_cast<char>(c - 'a' + 'A');
    switch (random.below(9)) {
        case 0:
            return {key + " = " + id, effect, false, id};
        case 1:
            return {key + "=" + id, effect, false, id};
        case 2:
            return {upper + " = " + id + "   # mine", effect, false, id};
        case 3:
            return {"\t" + key + "\t=\t" + id + "\t", effect, false, id};
        case 4:
            return {key + "\u00A0=\u2003" + id + "\u3000", effect, false, id};
        case 5:
            return {key + " = " + id + " # and = more", effect, false, id};
        case 6:
            return {"# " + key + " = " + id};  // a comment: nothing
        case 7:
            return {key + " ="};  // empty: nothing
        default: {
            // Another spelling of the identifier is another identifier.
            std::string other = id;
            for (char& c : other)
                if (c >= 'a' && c <= 'z') {
                    c = static_cast<char>(c - 'a' + 'A');
                    break;
                }
            return {key + " = " + other, effect, false, other};
        }
    }
}

Line armAllLine(ChaosRandom& random) {
    static const std::vector<std::string> variants = {"arm = *", "Arm = *", "arm=*",
                                                      "arm = *   # everything", "ARM\t=\t*"};
    return {random.pick(variants), Line::Effect::armAll};
}

Line junkLine(ChaosRandom& random) {
    static const std::vector<std::string> variants = {"",
                                                      "# Quelto configuration",
                                                      "   \t  ",
                                                      "not a setting",
                                                      "key = a = b",
                                                      "= value",
                                                      "arm = **",
                                                      "#",
                                                      "unknown = 1",
                                                      "exclude"};
    Line line{random.pick(variants)};
    // "arm = **" arms an identifier that nothing has.
    if (line.text == "arm = **") {
        line.effect = Line::Effect::arm;
        line.id = "**";
    }
    return line;
}

}  // namespace

std::string Policy::describe() const {
    std::string s = std::string("live ") + (live ? "on" : "off") + ", ";
    s += armAll ? "arm *" : "armed {";
    if (!armAll) {
        bool first = true;
        for (const auto& id : armed) s += (first ? "" : ", ") + id, first = false;
        s += "}";
    }
    s += ", excluded {";
    bool first = true;
    for (const auto& id : excluded) s += (first ? "" : ", ") + id, first = false;
    return s + "}";
}

ConfigFile randomConfig(ChaosRandom& random, const std::vector<std::string>& ids) {
    ConfigFile file;
    if (random.chance(0.04)) {
        file.kind = ConfigFile::Kind::missing;
        file.policy = Policy{};  // the defaults: nothing armed
        return file;
    }
    if (random.chance(0.03)) {
        file.kind = ConfigFile::Kind::notUtf8;
        file.text = "live = true\narm = *\nexclude = com.example.\xC3\x28\n";
        file.policy = Policy{};
        return file;
    }

    std::vector<Line> lines;
    for (long i = random.between(0L, 2L); i > 0; --i) lines.push_back(liveLine(random));
    for (long i = random.between(0L, 2L); i > 0; --i) lines.push_back(modeLine(random));
    for (long i = random.between(0L, 1L); i > 0; --i) lines.push_back(escapeLine(random));
    if (random.chance(0.45)) lines.push_back(armAllLine(random));
    for (long i = random.between(0L, 4L); i > 0; --i)
        lines.push_back(idLine(random, "arm", random.pick(ids), Line::Effect::arm));
    for (long i = random.between(0L, 3L); i > 0; --i)
        lines.push_back(idLine(random, "exclude", random.pick(ids), Line::Effect::exclude));
    for (long i = random.between(0L, 4L); i > 0; --i) lines.push_back(junkLine(random));
    // Order matters only for the master switch, whose last line wins.
    for (std::size_t i = lines.size(); i > 1; --i) std::swap(lines[i - 1], lines[random.below(i)]);

    static const std::vector<std::string> ends = {"\n", "\n", "\r\n", "\r", "\u2028"};
    const std::string& end = random.pick(ends);
    for (const Line& line : lines) {
        file.text += line.text;
        file.text += end;
        switch (line.effect) {
            case Line::Effect::none:
                break;
            case Line::Effect::live:
                file.policy.live = line.value;
                break;
            case Line::Effect::armAll:
                file.policy.armAll = true;
                break;
            case Line::Effect::arm:
                file.policy.armed.insert(line.id);
                break;
            case Line::Effect::exclude:
                file.policy.excluded.insert(line.id);
                break;
        }
    }
    if (!file.text.empty() && random.chance(0.3)) file.text.resize(file.text.size() - end.size());
    return file;
}

void install(const ConfigFile& file) {
    std::error_code ec;
    if (file.kind == ConfigFile::Kind::missing) {
        std::filesystem::remove(ConfigStore::path(), ec);
        return;
    }
    std::filesystem::create_directories(ConfigStore::directory(), ec);
    std::ofstream out(ConfigStore::path(), std::ios::binary | std::ios::trunc);
    out << file.text;
}

}  // namespace quelto::chaos
