#pragma once

#include <string>
#include <vector>

// A column of the intake: its name in the header line of a file, and the name of its type.
struct Column {
    std::string name;
    std::string type;
};

// What the station is told by its settings document. Paths are as they stand there.
struct Settings {
    std::string dropFolder;      // files to be taken appear here
    std::string doneFolder;      // and are here once they are taken, with their time in the name
    std::string rejectedFolder;  // rows with bad cells, and why, in files of the same names
    std::string storeFile;
    std::string logFile;
    std::string plugin;  // empty for none
    double settleSeconds = 0;
    std::vector<Column> columns;

    // Throws DataTreeEx for a text that is no document, and what tells path and name for one that
    // lacks something or holds what is no number or type.
    static Settings Load(const char* path);
};
