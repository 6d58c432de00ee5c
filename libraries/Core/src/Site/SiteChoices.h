#pragma once

#include <QtCore/QString>

namespace vlr {

/// What the site has chosen for those that stand below the settings and cannot read them
/// themselves. The settings room provides it before main() begins. GUI thread only.
class SiteChoices {
public:
    static const SiteChoices& current();
    static void
    provide(const SiteChoices& choices); ///< It stays the caller's and must outlive all.

    SiteChoices() = default;
    SiteChoices(const SiteChoices&) = delete;
    SiteChoices& operator=(const SiteChoices&) = delete;
    virtual ~SiteChoices();

    virtual int patientIdLimit() const = 0;          ///< Ids of new patients lie below it.
    virtual QString patientRepository() const = 0;   ///< A URL; empty for the local file.
    virtual QString patientDataGroup() const = 0;    ///< A group of the system; empty for none.
    virtual QString patientDataGroupKey() const = 0; ///< What a user changes it by.
    virtual QString
    folder() const = 0; ///< Where the choices are kept, with temporary files of theirs.
};

} // namespace vlr
