#include "AppBase/Translations.h"

#include "Gui/GuiTest.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QLocale>

using namespace vlrTest;

class Translations : public GuiTest {};

// "Exit" in the context "T" is "Ende": what Qt's lrelease made of it.
TEST_F(Translations, ThoseForTheUsersLanguageAreInstalled) {
    const QByteArray german = QByteArray::fromHex(
        "3cb86418caef9c95cd211cbf60a1bddda700000002646542000000080004cf04000000006900000022030000"
        "00080045006e0064006508000000000600000004457869740700000001540188000000020101");
    QCoreApplication::setApplicationName(QStringLiteral("TranslationsTest"));
    QLocale::setDefault(QLocale(QStringLiteral("de_AT")));
    const QDir share(QCoreApplication::applicationDirPath() +
                     QStringLiteral("/../share/TranslationsTest"));
    const QString folder = share.path() + QStringLiteral("/translations/");
    writeFile(folder + QStringLiteral("Program_de.qm"), german);
    writeFile(folder + QStringLiteral("Program_fr.qm"), "not for this user");
    writeFile(folder + QStringLiteral("Damaged_de_AT.qm"), "damaged");
    expectLog(vlr::LogLevel::Warning, "Damaged_de_AT.qm cannot be read");

    EXPECT_EQ(vlr::translationFiles().size(), 3);
    vlr::installTranslations(QCoreApplication::instance());
    EXPECT_EQ(QCoreApplication::translate("T", "Exit"), QStringLiteral("Ende"));
    QDir(share).removeRecursively();
}
