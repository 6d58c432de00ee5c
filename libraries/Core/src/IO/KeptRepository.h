#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

namespace vlr {

/// A repository under a second name, "<name>.replaced-<date and time>", with what lies beside it:
/// what is done to the first name cannot lose it any more, nor can a crash at any moment. Where the
/// file system knows no second names the files are copied, and a copy has its name when all of it
/// is on the disk. Nobody else may use the repository meanwhile, this process included.
///
///     KeptRepository kept(repository);
///     if (kept.keep() == 0 && !replace())
///         kept.bringBack();
class KeptRepository {
public:
    explicit KeptRepository(const QString& repository) : m_repository(repository) {}

    /// The system's error number, or 0. After an error nothing is kept.
    int keep();
    /// What lay beside the repository was brought into it, so that its file is all of it. Copies
    /// are as it was before, and stay together.
    void takeAsOne();
    void removeKept();
    /// What was taken away beside the first name comes back; what cannot be brought back stays
    /// kept.
    void bringBack();
    /// Empty where there was no repository.
    [[nodiscard]] QString name() const { return m_kept.contains(QString()) ? m_name : QString(); }

private:
    int keepAll();
    int keepFile(const QString& suffix);

    QString m_repository;
    QString m_name;
    QStringList m_kept; // The ends of the names of what this object made.
    bool m_isCopy = false;
    bool m_isOne = false; // The repository's file is all of it.
};

} // namespace vlr
