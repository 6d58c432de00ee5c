#include "CommandLine.h"

#include "Common/Selector.h"

#include <QtCore/QCommandLineParser>

namespace {

QString text(const char* latin1) {
    return QString::fromLatin1(latin1);
}

void addHidden(QCommandLineParser& parser, const char* name, const char* valueName = nullptr) {
    QCommandLineOption option(text(name), {}, text(valueName));
    option.setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOption(option);
}

void describe(QCommandLineParser& parser) {
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    parser.setApplicationDescription(
        text("Reference application for surgical navigation: patients and their images."));
    parser.addPositionalArgument(
        text("images"),
        text("Image files and folders to show. Without them the images of the "
             "last time are shown again, or example images."),
        text("[image files or folders...]"));
    parser.addOption({{text("h"), text("help")}, text("Prints this text.")});
    parser.addOption({{text("v"), text("version")}, text("Prints the version.")});
    parser.addOption({text("selector"),
                      text("How modules are chosen: tabs, buttons, radio, stepper or none."),
                      text("KIND")});
    parser.addOption({text("tour"),
                      text("Shows itself in a fresh environment and writes pictures to the folder "
                           "<DIR>. Your own data are not touched."),
                      text("DIR")});
    parser.addOption({text("self-check"),
                      text("Checks that this installation works, prints a line for everything "
                           "that was checked, and exits with 1 after a fault. Your own data are "
                           "read and not changed.")});
    parser.addOption({text("backup"),
                      text("Backs the patients up to the new file <FILE> and exits, also while the "
                           "program is in use."),
                      text("FILE")});
    parser.addOption({text("restore"),
                      text("Puts the patients of the backup <FILE> in the place of the present "
                           "ones, which are kept beside them, and exits. Refused while the "
                           "program is in use."),
                      text("FILE")});
    addHidden(parser, "self-check-parts");
    addHidden(parser, "tour-stage", "number");
    addHidden(parser, "print-first-frame");
    addHidden(parser, "exit-after-first-frame");
    // These are for the user interface library, which looks for them by itself.
    for (const char* name : {"platform", "style", "stylesheet", "display", "geometry"})
        addHidden(parser, name, "value");
}

QString fileOf(const QCommandLineParser& parser, const char* option, QString& error) {
    if (!parser.isSet(text(option)))
        return {};
    if (parser.value(text(option)).isEmpty())
        error = text("--%1 needs a file.").arg(text(option));
    return parser.value(text(option));
}

} // namespace

CommandLine parseCommandLine(const QStringList& arguments) {
    QCommandLineParser parser;
    describe(parser);
    CommandLine result;
    if (!parser.parse(arguments)) {
        result.error = parser.errorText();
        return result;
    }
    result.paths = parser.positionalArguments();
    result.help = parser.isSet(text("help"));
    result.version = parser.isSet(text("version"));
    result.tourFolder = parser.value(text("tour"));
    result.backup = fileOf(parser, "backup", result.error);
    result.restore = fileOf(parser, "restore", result.error);
    if (!result.backup.isNull() && !result.restore.isNull())
        result.error = text("--backup and --restore exclude each other.");
    result.selfCheck = parser.isSet(text("self-check"));
    result.selfCheckParts = parser.isSet(text("self-check-parts"));
    result.exitAfterFirstFrame = parser.isSet(text("exit-after-first-frame"));
    result.printFirstFrame = result.exitAfterFirstFrame || parser.isSet(text("print-first-frame"));
    if (parser.isSet(text("tour")) && result.tourFolder.isEmpty())
        result.error = text("The tour needs a folder.");
    result.selector = parser.value(text("selector"));
    if (parser.isSet(text("selector")) && !selectorKinds().contains(result.selector))
        result.error = text("There is no selector \"%1\"; there are %2.")
                           .arg(result.selector, selectorKinds().join(text(", ")));
    if (parser.isSet(text("tour-stage")))
        result.tourStage = parser.value(text("tour-stage")).toInt();
    return result;
}

QString commandLineHelp() {
    QCommandLineParser parser;
    describe(parser);
    return parser.helpText();
}
