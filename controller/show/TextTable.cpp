#include "show/TextTable.h"

#include <algorithm>

namespace {

std::size_t Width(const std::string& text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

}  // namespace

void CTextTable::Add(std::vector<std::string> cells) {
    cells.resize(m_columns.size());
    m_rows.push_back(std::move(cells));
}

std::string CTextTable::Text() const {
    std::vector<std::string> titles;
    std::vector<std::size_t> widths;
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        titles.push_back(m_columns[i].title);
        widths.push_back(Width(titles.back()));
        for (const auto& row : m_rows)
            widths[i] = std::max(widths[i], Width(row[i]));
    }
    std::string text;
    const auto addLine = [&](const std::vector<std::string>& cells) {
        std::string line;
        for (std::size_t i = 0; i < cells.size(); ++i) {
            const std::string fill(widths[i] - Width(cells[i]), ' ');
            if (i > 0) line += "  ";
            line += m_columns[i].align == Align::Right ? fill + cells[i] : cells[i] + fill;
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + '\n';
    };
    addLine(titles);
    for (const auto& row : m_rows)
        addLine(row);
    return text;
}
