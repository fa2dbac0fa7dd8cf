#pragma once

#include <QString>

#include <optional>
#include <string>
#include <vector>

/// What the program is to do.
enum class Task {
    Tell, ///< print a text: help or version
    Run, ///< show the service with its windows
    Gallery, ///< render all windows to files
    Check, ///< judge a document
    Refuse, ///< the command line is wrong
};

/// The command line, understood.
struct Arguments
{
    Task task = Task::Refuse;
    QString text; ///< of Tell and Refuse
    QString feed; ///< address or file; may be empty for a gallery
    QString language; ///< empty: that of the system
    std::optional<QString> unit;
    std::optional<QString> firmware;
    QString galleryFolder;
    QString checkedFile;
    bool strict = false;
    std::optional<double> scale;

    /// Whether the feed is an address, not a file.
    bool isFeedAddress() const;
};

/// Reads the command line. @param words  in UTF-8, without the program's name
Arguments parseArguments(const std::vector<std::string> &words);
