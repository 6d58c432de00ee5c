#include "AppBase/Translations.h"

#include "Log/vlrLog.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QLibraryInfo>
#include <QtCore/QLocale>
#include <QtCore/QTranslator>

namespace vlr {

namespace {

// "de_AT" and then "de": a translator that is installed later is asked first.
QStringList suffixes() {
    const QString language = QLocale().name();
    return {language.section(QLatin1Char('_'), 0, 0), language};
}

bool install(QCoreApplication* application, const QString& path) {
    auto* const translator = new QTranslator(application);
    if (translator->load(path))
        return QCoreApplication::installTranslator(translator);
    delete translator;
    return false;
}

} // namespace

QStringList translationFiles() {
    QStringList files;
    for (const QString& folder :
         {QStringLiteral(":/translations"),
          QCoreApplication::applicationDirPath() +
              QStringLiteral("/../share/%1/translations").arg(QCoreApplication::applicationName())})
        for (const QFileInfo& file :
             QDir(folder).entryInfoList({QStringLiteral("*.qm")}, QDir::Files, QDir::Name))
            files << file.filePath();
    return files;
}

void installTranslations(QCoreApplication* application) {
    const QStringList files = translationFiles();
    QStringList languages = suffixes();
    languages.removeDuplicates();
    for (const QString& language : qAsConst(languages)) {
        const QString ending = QLatin1Char('_') + language + QStringLiteral(".qm");
        bool isThere = false;
        for (const QString& file : files)
            if (file.endsWith(ending)) {
                const bool isInstalled = install(application, file);
                isThere = isThere || isInstalled;
                if (!isInstalled)
                    VLR_LOG(Warning) << "The translation " << file << " cannot be read.";
            }
        // Otherwise dialogs would be half in one language and half in the other.
        if (isThere)
            (void)install(application, QLibraryInfo::location(QLibraryInfo::TranslationsPath) +
                                           QStringLiteral("/qtbase") + ending);
    }
}

} // namespace vlr
