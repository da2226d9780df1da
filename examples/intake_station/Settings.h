#pragma once

#include <string>
#include <vector>

// A column: its name in the header line of a file, and the name of its type.
struct Column {
    std::string name;
    std::string type;
};

// The settings document. Paths are as written there.
struct Settings {
    std::string dropFolder;      // watched for new files
    std::string doneFolder;      // receives imported files, renamed with their write time
    std::string rejectedFolder;  // rows with bad cells and the reasons, one file for each input
    std::string storeFile;
    std::string logFile;
    std::string plugin;  // path without the system's suffix, empty for none
    double settleSeconds = 0;
    std::vector<Column> columns;

    // Throws DataTreeEx if the text is not a document or a setting is missing or of another type,
    // and std::runtime_error with path, line and name if the type of a column doesn't exist.
    static Settings Load(const char* path);
};
