#include "AppBase/Settings/SettingsEdits.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QSet>

#include <algorithm>

namespace vlr {

namespace {

struct Words {
    Q_DECLARE_TR_FUNCTIONS(SettingsEdits)
};

} // namespace

SettingsEdits::SettingsEdits(SettingsSource& source) : m_source(source), m_known(knownSettings()) {
    for (const KnownSetting& setting : m_known)
        m_knownByKey.insert(setting.key, &setting);
    read();
}

void SettingsEdits::read() {
    m_stored.clear();
    QHash<QString, QVariant> read;
    m_readError = m_source.read(read);
    for (auto stored = read.cbegin(); stored != read.cend(); ++stored)
        if (stored.value().isValid())
            m_stored.insert(stored.key(), stored.value());
}

// --- queries

QString SettingsEdits::readProblem() const {
    if (m_readError.isNull())
        return {};
    const QString reason = QString::fromStdString(m_readError.text());
    return m_readError.id() == "Settings::damaged"
               ? Words::tr("%1 Shown is what this program knows. Storing changes puts that in the "
                           "place of the file, which is kept under another name.")
                     .arg(reason)
               : Words::tr("%1 Shown is what this program knows.").arg(reason);
}

QStringList SettingsEdits::keys() const {
    QSet<QString> all;
    for (const KnownSetting& setting : m_known)
        all.insert(setting.key);
    for (auto stored = m_stored.cbegin(); stored != m_stored.cend(); ++stored)
        all.insert(stored.key());
    for (auto pending = m_pending.cbegin(); pending != m_pending.cend(); ++pending)
        all.insert(pending.key());
    return all.values();
}

bool SettingsEdits::isListed(const QString& key) const {
    return m_knownByKey.contains(key) || m_stored.contains(key) || m_pending.contains(key);
}

const KnownSetting* SettingsEdits::known(const QString& key) const {
    return m_knownByKey.value(key);
}

SettingsType SettingsEdits::type(const QString& key) const {
    if (const KnownSetting* setting = known(key))
        return setting->type;
    const auto declared = m_declared.constFind(key);
    if (declared != m_declared.constEnd())
        return *declared;
    return typeOf(m_stored.value(key));
}

QVariant SettingsEdits::value(const QString& key) const {
    const auto pending = m_pending.constFind(key);
    return pending != m_pending.constEnd() ? *pending : m_stored.value(key);
}

QString SettingsEdits::text(const QString& key) const {
    const QVariant current = value(key);
    if (current.isValid())
        return settingText(type(key), current);
    const KnownSetting* setting = known(key);
    return setting ? setting->defaultText : settingText(type(key), m_stored.value(key));
}

bool SettingsEdits::isChanged(const QString& key) const {
    return m_pending.contains(key);
}

bool SettingsEdits::isDeleted(const QString& key) const {
    return isChanged(key) && !known(key) && !value(key).isValid();
}

bool SettingsEdits::isDefault(const QString& key) const {
    return known(key) && !value(key).isValid();
}

QString SettingsEdits::status(const QString& key) const {
    if (!isListed(key))
        return {};
    if (isDeleted(key))
        return Words::tr("Will be deleted.");
    if (isChanged(key) && isDefault(key))
        return Words::tr("Will be the default again; stored is %1.")
            .arg(describe(key, m_stored.value(key)));
    if (isChanged(key))
        return m_stored.contains(key)
                   ? Words::tr("Changed; stored is %1.").arg(describe(key, m_stored.value(key)))
                   : Words::tr("New, not stored yet.");
    const KnownSetting* setting = known(key);
    if (!setting)
        return Words::tr("Stored.");
    if (isDefault(key))
        return Words::tr("The default; nothing is stored.");
    if (!fits(setting->type, value(key)))
        return statusOfMisfit(*setting);
    return text(key) == setting->defaultText ? Words::tr("Stored, equal to the default.")
                                             : Words::tr("Stored, differs from the default.");
}

// What becomes of a value that does not fit is not always the default.
QString SettingsEdits::statusOfMisfit(const KnownSetting& setting) const {
    const QVariant stored = value(setting.key);
    if (isReadAsDefault(setting.type, stored))
        return Words::tr("The stored value does not fit, so the default is used.");
    const QString problem =
        setting.type.kind == SettingsType::Kind::Choice
            ? Words::tr("The stored \"%1\" is an unknown choice.").arg(rawSettingText(stored))
            : Words::tr("The stored value does not fit.");
    return setting.otherwise.isEmpty() ? problem : problem + QLatin1Char(' ') + setting.otherwise;
}

QString SettingsEdits::describe(const QString& key, const QVariant& value) const {
    if (value.isValid()) {
        const QString text = settingText(type(key), value);
        return text.isEmpty() ? Words::tr("(empty)") : withoutPassword(text);
    }
    const KnownSetting* setting = known(key);
    if (!setting)
        return Words::tr("(none)");
    return setting->defaultText.isEmpty() ? Words::tr("(default: empty)")
                                          : Words::tr("(default: %1)").arg(setting->defaultText);
}

std::vector<SettingsChange> SettingsEdits::changes() const {
    std::vector<SettingsChange> list;
    for (auto pending = m_pending.cbegin(); pending != m_pending.cend(); ++pending)
        list.push_back({pending.key(), m_stored.value(pending.key()), pending.value()});
    return list;
}

// --- editing

// What reads as the stored value is no change, also where it is written in another way.
void SettingsEdits::setPending(const QString& key, const QVariant& value) {
    const QVariant stored = m_stored.value(key);
    const bool isSame = stored.isValid() == value.isValid() &&
                        settingText(type(key), stored) == settingText(type(key), value);
    if (isSame)
        m_pending.remove(key);
    else
        m_pending.insert(key, value);
}

QString SettingsEdits::set(const QString& key, const QString& newText) {
    const ParsedSetting parsed = parseSetting(type(key), newText);
    if (!parsed.value.isValid())
        return parsed.refusal;
    if (settingText(type(key), parsed.value) != text(key))
        setPending(key, parsed.value);
    return {};
}

QString SettingsEdits::keyProblem(const QString& key) const {
    const QLatin1Char slash('/');
    if (key.isEmpty())
        return Words::tr("A name is missing.");
    if (key.startsWith(slash) || key.endsWith(slash))
        return Words::tr("A name neither begins nor ends with a slash.");
    if (key.contains(QLatin1String("//")))
        return Words::tr("There is nothing between two slashes.");
    if (known(key) || value(key).isValid())
        return Words::tr("There is such a setting already.");
    return {};
}

void SettingsEdits::add(const QString& key, const SettingsType& type) {
    m_declared.insert(key, type);
    setPending(key, parseSetting(type, initialText(type)).value);
}

void SettingsEdits::rename(const QString& key, const QString& newKey) {
    const QString origin = m_renames.value(key, key);
    const QVariant moved = value(key);
    m_declared.insert(newKey, type(key));
    setPending(newKey, moved);
    remove(key);
    if (newKey != origin && m_stored.contains(origin))
        m_renames.insert(newKey, origin);
}

void SettingsEdits::remove(const QString& key) {
    m_renames.remove(key);
    setPending(key, {});
}

QString SettingsEdits::renamePartner(const QString& key) const {
    return m_renames.contains(key) ? m_renames.value(key) : m_renames.key(key);
}

// Half a rename would lose the value, or have it twice.
void SettingsEdits::drop(const QString& key) {
    const QString partner = renamePartner(key);
    m_renames.remove(key);
    m_pending.remove(key);
    if (partner.isEmpty())
        return;
    m_renames.remove(partner);
    m_pending.remove(partner);
}

void SettingsEdits::revert(const QString& key) {
    drop(key);
    if (m_stored.contains(key))
        m_declared.remove(key);
}

// --- storing

CaError SettingsEdits::apply(std::vector<SettingsConflict>& conflicts) {
    conflicts.clear();
    const std::vector<SettingsChange> all = changes();
    if (all.empty())
        return CaError::nullError;
    QStringList conflictingKeys;
    const CaError error = m_source.apply(all, conflictingKeys);
    if (!error.isNull())
        return error;
    if (conflictingKeys.isEmpty()) {
        m_pending.clear();
        m_renames.clear();
        read();
        return CaError::nullError;
    }
    QHash<QString, QVariant> theirs;
    m_readError = m_source.read(theirs);
    for (const SettingsChange& change : all)
        if (conflictingKeys.contains(change.key))
            conflicts.push_back({change, theirs.value(change.key), false});
    return CaError::nullError;
}

void SettingsEdits::resolve(const std::vector<SettingsConflict>& conflicts) {
    for (const SettingsConflict& conflict : conflicts) {
        const QString& key = conflict.change.key;
        if (conflict.theirs.isValid())
            m_stored.insert(key, conflict.theirs);
        else
            m_stored.remove(key);
        if (conflict.takeMine)
            setPending(key, conflict.change.value);
        else
            drop(key);
    }
}

} // namespace vlr
