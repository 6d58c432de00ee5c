#pragma once

#include "AppBase/Settings/KnownSettings.h"
#include "AppBase/Settings/SettingsSource.h"

#include <QtCore/QMap>

namespace vlr {

/// A change that another process forestalled.
struct SettingsConflict {
    SettingsChange change; ///< expected: what the value was; value: what the user made of it
    QVariant theirs;       ///< what is stored now
    bool takeMine = false;
};

/// What is stored, and what the user made of it, which is stored only by apply().
///
///     SettingsEdits edits(source);
///     const QString refusal = edits.set(key, QStringLiteral("8"));
///     std::vector<SettingsConflict> conflicts;
///     const CaError error = edits.apply(conflicts);
///
/// Keys listed are the known ones, the stored ones and the added ones. Where an absent value is
/// spoken of, it is an invalid QVariant.
class VLR_GUI_EXPORT SettingsEdits {
public:
    explicit SettingsEdits(SettingsSource& source); ///< which has to outlive it

    /// Why what is stored could not be read and is the last known instead, or nothing.
    QString readProblem() const;

    QStringList keys() const; ///< All that are listed, in no order.
    bool isListed(const QString& key) const;
    const KnownSetting* known(const QString& key) const; ///< Null for a key nobody knows.
    SettingsType type(const QString& key) const;

    QVariant value(const QString& key) const; ///< As it will be stored; absent: default or none.
    QString text(const QString& key) const;   ///< What it reads as; the default where absent.
    bool isChanged(const QString& key) const;
    bool isDeleted(const QString& key) const; ///< Nothing is left of it, not even a default.
    bool isDefault(const QString& key) const; ///< It is known and will not be stored.
    QString status(const QString& key) const; ///< All that in a sentence.

    /// Takes the text as the new value. Otherwise says why not.
    QString set(const QString& key, const QString& text);
    /// Why there can be no new key of that name, or nothing.
    QString keyProblem(const QString& key) const;
    /// The key, and the new one of a rename, must be no problem.
    void add(const QString& key, const SettingsType& type);
    void rename(const QString& key, const QString& newKey);
    void remove(const QString& key); ///< Of a known key the default is left.
    void revert(const QString& key);

    std::vector<SettingsChange> changes() const; ///< In the order of their keys.
    /// The value in words: an absent one is a default, or not there.
    QString describe(const QString& key, const QVariant& value) const;

    /// Stores all changes. With an error or conflicts nothing is stored and everything kept.
    CaError apply(std::vector<SettingsConflict>& conflicts);
    /// Goes on from what the others stored, and drops the changes that are not to be taken.
    void resolve(const std::vector<SettingsConflict>& conflicts);

    /// The other half of a rename that is pending; empty for any other key.
    QString renamePartner(const QString& key) const;

private:
    void read();
    QString statusOfMisfit(const KnownSetting& setting) const;
    void drop(const QString& key);
    void setPending(const QString& key, const QVariant& value);

    SettingsSource& m_source;
    CaError m_readError;
    std::vector<KnownSetting> m_known;
    QHash<QString, const KnownSetting*> m_knownByKey;
    QHash<QString, QVariant> m_stored;
    QMap<QString, QVariant> m_pending;
    QMap<QString, QString> m_renames;        // new key to stored key
    QHash<QString, SettingsType> m_declared; // of keys that were added here
};

} // namespace vlr
