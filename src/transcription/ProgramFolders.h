#pragma once

#include <QString>

namespace quendra {

// Where the running program finds the files it ships with. An installed copy
// reads only its installed folders, so it keeps working once the build and
// source trees are gone; a program of this build tree, which has no data
// folder beside it, reads the source tree's resources.
class ProgramFolders {
public:
    // The data folder (share/parlevo, as installed relative to the program
    // folder), or the source tree's resources/ for a program of the build tree.
    static QString resources();
    // A helper program: installed in libexec/parlevo (relative to the program
    // folder, as the data folder is), built beside parlevo.
    static QString helper(const QString& name);
};

} // namespace quendra
