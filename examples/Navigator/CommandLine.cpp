#include "CommandLine.h"

#include "Common/Selector.h"

#include <QtCore/QCommandLineParser>

namespace {

QString text(const char* latin1) {
    return QString::fromLatin1(latin1);
}

struct Option {
    const char* names;       ///< Separated by spaces.
    const char* description; ///< Null: not in the help.
    const char* valueName = nullptr;
};

constexpr Option options[] = {
    {"h help", "Prints this text."},
    {"v version", "Prints the version."},
    {"selector", "How modules are chosen: tabs, buttons, radio, stepper or none.", "KIND"},
    {"tour",
     "Shows itself in a fresh environment and writes pictures to the folder <DIR>. Your own data "
     "are not touched.",
     "DIR"},
    {"self-check",
     "Checks that this installation works, prints a line for everything that was checked, and "
     "exits with 1 after a fault. Your own data are read and not changed."},
    {"backup",
     "Backs the patients up to the new file <FILE> and exits, also while the program is in use.",
     "FILE"},
    {"restore",
     "Puts the patients of the backup <FILE> in the place of the present ones, which are kept "
     "beside them, and exits. Refused while the program is in use.",
     "FILE"},
    {"self-check-parts", nullptr},
    {"tour-stage", nullptr, "number"},
    {"print-first-frame", nullptr},
    {"exit-after-first-frame", nullptr},
    // These are for the user interface library, which looks for them by itself.
    {"platform", nullptr, "value"},
    {"style", nullptr, "value"},
    {"stylesheet", nullptr, "value"},
    {"display", nullptr, "value"},
    {"geometry", nullptr, "value"},
};

void describe(QCommandLineParser& parser) {
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    parser.setApplicationDescription(
        text("Reference application for surgical navigation: patients and their images."));
    parser.addPositionalArgument(
        text("images"),
        text("Image files and folders to show. Without them the images of the "
             "last time are shown again, or example images."),
        text("[image files or folders...]"));
    for (const Option& option : options) {
        QCommandLineOption added(text(option.names).split(QLatin1Char(' ')),
                                 text(option.description), text(option.valueName));
        if (!option.description)
            added.setFlags(QCommandLineOption::HiddenFromHelp);
        parser.addOption(added);
    }
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
