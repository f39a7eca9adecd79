#include "ui/TabRendering.h"

namespace quelto {

namespace {

const char* const rule = "────────────────────────────────────────";

// Width in characters (code points) of UTF-8 text.
std::size_t width(const std::string& s) {
    std::size_t n = 0;
    for (unsigned char c : s)
        if ((c & 0xC0) != 0x80) ++n;
    return n;
}

std::string padded(const std::string& s, std::size_t columns) {
    std::size_t w = width(s);
    return w >= columns ? s + " " : s + std::string(columns - w, ' ');
}

std::string dimmed(TextColor color) {
    return color == TextColor::secondary ? "  (dimmed)" : "";
}

std::string inlineElement(const ViewElement& e);

void renderAppsTable(const MainWindowModel& model, std::string& out) {
    const auto& columns = MainWindowModel::appsColumns();
    out += "  " + padded(columns[0].title, 34) + columns[1].title + "\n";
    if (model.appRows().empty()) out += "  (no rows)\n";
    for (const MainWindowModel::AppRow& row : model.appRows()) {
        MainWindowModel::NameCell name = MainWindowModel::nameCell(row);
        MainWindowModel::ExcludeBox box = MainWindowModel::excludeBox(row);
        std::string line = "  " + padded(name.text, 34) + (box.checked ? "[✓]" : "[ ]");
        if (!box.enabled) line += " (disabled)";
        if (box.toolTip) line += " «" + *box.toolTip + "»";
        line += "  " + name.toolTip + dimmed(name.color);
        out += line + "\n";
    }
}

void renderActivityTable(const MainWindowModel& model, std::string& out) {
    const auto& columns = MainWindowModel::activityColumns();
    out += "  " + padded(columns[0].title, 10) + padded(columns[1].title, 18) +
           padded(columns[2].title, 26) + columns[3].title + "\n";
    std::vector<MainWindowModel::ActivityRow> rows = model.activityRows();
    if (rows.empty()) out += "  (no rows)\n";
    for (const MainWindowModel::ActivityRow& row : rows)
        out += "  " + padded(row.time, 10) + padded(row.app, 18) + padded(row.cause, 26) +
               row.outcome + dimmed(row.color) + "\n";
}

std::string inlineElement(const ViewElement& e) {
    using Kind = ViewElement::Kind;
    switch (e.kind) {
        case Kind::image:
            return "[" + e.text + " image]";
        case Kind::text:
            return e.text;
        case Kind::separator:
            return rule;
        case Kind::switchControl:
            return e.on ? "[switch: on]" : "[switch: off]";
        case Kind::segmentedControl:
        case Kind::popUpButton: {
            std::string s = e.kind == Kind::popUpButton ? "pop-up: " : "segments: ";
            for (std::size_t i = 0; i < e.items.size(); ++i) {
                if (i > 0) s += " | ";
                s += static_cast<int>(i) == e.selected ? "(•) " + e.items[i] : "( ) " + e.items[i];
            }
            return s;
        }
        case Kind::checkBox:
            return std::string(e.on ? "[✓] " : "[ ] ") + e.text + (e.enabled ? "" : " (disabled)");
        case Kind::button:
            return "[" + e.text + "]";
        case Kind::linkButton:
            return "<" + e.text + ">";
        case Kind::row:
        case Kind::column: {
            std::string s;
            for (const ViewElement& c : e.children) {
                if (!s.empty()) s += e.kind == Kind::row ? "  " : " / ";
                s += inlineElement(c);
            }
            return s;
        }
        case Kind::healthCheck:
            return std::string(e.on ? "✓ " : "✗ ") + e.text;
        case Kind::table:
            return "[table " + e.id + "]";
    }
    return "";
}

void renderElement(const MainWindowModel& model, const ViewElement& e, std::string& out) {
    using Kind = ViewElement::Kind;
    switch (e.kind) {
        case Kind::table:
            if (e.id == "apps")
                renderAppsTable(model, out);
            else
                renderActivityTable(model, out);
            return;
        case Kind::column:
            for (const ViewElement& c : e.children) renderElement(model, c, out);
            return;
        case Kind::row: {
            // A header row (icon beside a column of texts) prints as lines; control rows inline.
            bool hasColumn = false;
            for (const ViewElement& c : e.children) hasColumn = hasColumn || c.kind == Kind::column;
            if (hasColumn) {
                for (const ViewElement& c : e.children) renderElement(model, c, out);
                return;
            }
            out += inlineElement(e) + "\n";
            return;
        }
        case Kind::healthCheck:
            out += inlineElement(e) + "\n    " + e.detail + "\n";
            return;
        default:
            out += inlineElement(e) + "\n";
    }
}

}  // namespace

std::string renderTab(const MainWindowModel& model, const std::string& tab) {
    TabContent content = model.content(tab);
    if (content.identifier.empty()) return "";
    std::string out;
    for (const ViewElement& e : content.elements) renderElement(model, e, out);
    return out;
}

std::string renderWindow(const MainWindowModel& model) {
    const MainWindowModel::Frame& frame = MainWindowModel::frame();
    std::string out = "Window “" + frame.title + "” " + std::to_string(int(frame.width)) + " × " +
                      std::to_string(int(frame.height)) + "\n";
    std::string tabs;
    for (const MainWindowModel::Tab& t : frame.tabs) {
        if (!tabs.empty()) tabs += "  ";
        tabs += t.identifier == model.selectedTab() ? "[" + t.label + "]" : t.label;
    }
    out += tabs + "\n" + rule + "\n";
    out += renderTab(model, model.selectedTab());
    return out;
}

}  // namespace quelto
