#include "markdown.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

namespace markdown {

namespace {

constexpr const char *fence = "```";

std::string plain(const std::string &cell)
{
    const std::string text = squeezed(cell);
    const bool is_code = text.size() > 2 && text.front() == '`' && text.back() == '`';
    return is_code ? text.substr(1, text.size() - 2) : text;
}

Row row_of(const std::string &line)
{
    Row row;
    std::istringstream cells(line.substr(1));
    for (std::string cell; std::getline(cells, cell, '|');)
        row.push_back(plain(cell));
    return row;
}

} // namespace

std::vector<std::string> lines_of(const char *path)
{
    std::ifstream file(path);
    EXPECT_TRUE(file.is_open()) << path;
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

std::vector<Block> blocks(const std::vector<std::string> &lines)
{
    std::vector<Block> found;
    bool is_inside = false;
    for (const std::string &line : lines) {
        if (line.starts_with(fence)) {
            is_inside = !is_inside;
            if (is_inside)
                found.push_back({line.substr(3), {}});
        } else if (is_inside) {
            found.back().lines.push_back(line);
        }
    }
    std::erase_if(found, [](const Block &block) { return block.kind.empty(); });
    return found;
}

std::vector<Row> table(const std::vector<std::string> &lines, const std::string &heading)
{
    auto line = std::find_if(lines.begin(), lines.end(), [&](const std::string &text) {
        return text.starts_with('#') && text.ends_with(" " + heading);
    });
    EXPECT_NE(line, lines.end()) << "no heading \"" << heading << '"';
    line = std::find_if(line, lines.end(), [](const std::string &text) { return text.starts_with("|---"); });
    std::vector<Row> rows;
    while (line != lines.end() && (++line)->starts_with('|'))
        rows.push_back(row_of(*line));
    return rows;
}

std::string squeezed(const std::string &text)
{
    std::istringstream words(text);
    std::string result;
    for (std::string word; words >> word;)
        result += (result.empty() ? "" : " ") + word;
    return result;
}

} // namespace markdown
