#pragma once

#include <map>
#include <string>
#include <vector>

/**
 * The parts of a Markdown document that a machine can check: fenced blocks and tables.
 */
namespace markdown {

/// A fenced block: the word after the fence, and its lines.
struct Block
{
    std::string kind;
    std::vector<std::string> lines;
};

/// A row of a table, without the marks of code around a cell.
using Row = std::vector<std::string>;

/// The lines of a file; a failed expectation and nothing when it cannot be read.
std::vector<std::string> lines_of(const char *path);

/// All fenced blocks that have a word after the fence.
std::vector<Block> blocks(const std::vector<std::string> &lines);

/// The rows of the first table below the heading with this text; without its own heading.
std::vector<Row> table(const std::vector<std::string> &lines, const std::string &heading);

/// A text with every run of blanks made one, and none at its ends.
std::string squeezed(const std::string &text);

} // namespace markdown
