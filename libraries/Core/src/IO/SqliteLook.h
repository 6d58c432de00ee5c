#pragma once

#include <QtCore/QString>

#include <optional>
#include <utility>

namespace vlr {

/// Held while a database file is read without changing anything: neither the file, nor what lies
/// beside it. SQLite by itself makes files beside one that it reads, writes to them, and brings
/// what they hold into the file. What is read is the state of one moment, also while a program
/// stores: no change of it gets from beside the file into it as long as this lives, which costs
/// nobody a wait. Nothing is locked for writing, and no lock leaves a file.
///
///     const SqliteLook look(path);
///     if (look.problem().isEmpty())
///         open(look.name()); // and SqliteDatabase::lookOnly() before anything is asked
///
/// Only for a file that this process has not open by SQLite, whose locks would be lost.
class SqliteLook {
public:
    explicit SqliteLook(const QString& path);
    ~SqliteLook();
    SqliteLook(const SqliteLook&) = delete;
    SqliteLook& operator=(const SqliteLook&) = delete;

    /// Why the file cannot be read this way; empty where it can.
    [[nodiscard]] QString problem() const { return m_problem; }
    /// What SQLite is to open, as a URI.
    [[nodiscard]] QString name() const;
    /// Whether changes lie beside it that belong to another file. They are not read.
    [[nodiscard]] bool hasForeignChanges() const { return m_hasForeignChanges; }
    /// Whether another program has begun to use the file since. What was read then may be of
    /// several moments.
    [[nodiscard]] bool isDisturbed() const;

private:
    using Identity = std::optional<std::pair<quint64, quint64>>; // Device and inode.
    static Identity identityOf(const QString& path);
    int lock(int& descriptor, const QString& path, long start, long bytes);

    QString m_path;
    QString m_problem;
    bool m_hasForeignChanges = false;
    int m_file = -1;
    int m_index = -1;
    Identity m_changes;
    Identity m_indexOfChanges;
};

} // namespace vlr
