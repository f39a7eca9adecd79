#include "app/MenuRendering.h"

#include <cctype>

namespace quelto {

namespace {

const char* const rule = "────────────────────────";

std::string keyText(const std::string& key) {
    if (key.empty()) return "";
    unsigned char c = static_cast<unsigned char>(key[0]);
    if (key.size() == 1 && std::isupper(c)) return "  ⇧⌘" + key;
    std::string shown = key;
    if (key.size() == 1 && std::islower(c)) shown[0] = static_cast<char>(std::toupper(c));
    return "  ⌘" + shown;
}

void renderRows(const std::vector<MenuRow>& rows, const std::string& indent, std::string& out) {
    for (const MenuRow& row : rows) {
        if (row.separator) {
            out += indent + rule + "\n";
            continue;
        }
        out += indent + (row.checked ? "✓ " : "  ") + row.title;
        if (!row.submenu.empty()) out += " ▸";
        out += keyText(row.keyEquivalent);
        if (!row.enabled) out += "  (disabled)";
        out += "\n";
        if (!row.submenu.empty()) renderRows(row.submenu, indent + "    ", out);
    }
}

}  // namespace

std::string renderMenu(const std::vector<MenuRow>& rows) {
    std::string out;
    renderRows(rows, "", out);
    return out;
}

}  // namespace quelto
