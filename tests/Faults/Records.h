#pragma once

#include <QtCore/QString>

#include <functional>
#include <vector>

/// A kind of file that the library reads, and what it makes of a damaged one.
struct Record {
    enum Found {
        Nothing, ///< Nothing is there: the defaults.
        Refused, ///< An error, or a problem that is shown.
        Whole,   ///< What was stored.
        /// Something else without a contradiction: all that the file says was taken, and it stays
        /// the same when it is stored and read again.
        Sound,
        Torn ///< Anything else.
    };

    const char* name;
    QString (*file)();
    std::function<void()> store; ///< Makes a whole one. Throws where that fails.
    std::function<Found()> read;
    bool isAppendedTo = false; ///< Its beginning is a whole one, too.
};

/// The victims, and what Navigation reads.
const std::vector<Record>& records();
