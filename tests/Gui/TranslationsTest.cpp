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
    QCoreApplication::setApplicationName("TranslationsTest"_s);
    QLocale::setDefault(QLocale("de_AT"_s));
    const QDir share(QCoreApplication::applicationDirPath() + "/../share/TranslationsTest"_s);
    const QString folder = share.path() + "/translations/"_s;
    writeFile(folder + "Program_de.qm"_s, german);
    // What Austria says in its own way goes before what it has in common with others.
    QByteArray austrian = german;
    austrian.replace(QByteArray::fromHex("0045006e00640065"),
                     QByteArray::fromHex("0041007500730021"));
    writeFile(folder + "Program_de_AT.qm"_s, austrian);
    writeFile(folder + "Program_fr.qm"_s, "not for this user");
    writeFile(folder + "Damaged_de_AT.qm"_s, "damaged");
    expectLog(LogLevel::Warning, "Damaged_de_AT.qm cannot be read");

    EXPECT_EQ(vlr::translationFiles().size(), 4);
    vlr::installTranslations(QCoreApplication::instance());
    EXPECT_EQ(QCoreApplication::translate("T", "Exit"), "Aus!"_s);
    QDir(share).removeRecursively();
}
