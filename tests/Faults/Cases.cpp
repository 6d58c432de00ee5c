#include "Cases.h"

#include "Child.h"

#include <cstdio>

namespace {

constexpr const char* longForm = "VLR_FAULTS_LONG";

// What a sanitizer said of the end of a process, and where in this library that was.
std::string lastWords(const QByteArray& text) {
    std::string words;
    for (const QByteArray& line : text.split('\n')) {
        const bool isFrame = line.contains("    #") && line.contains("vlr") && words.size() < 2000;
        if (isFrame || line.contains("Sanitizer: ") || line.contains("runtime error"))
            words += "\n      " + line.trimmed().toStdString();
    }
    return words;
}

struct Progress {
    long at = -1;
    std::string name;
    bool hasEnded = false;
};

// Follows one process to its end.
Progress follow(Child& child, Report& report, CaseResults& results) {
    Progress progress;
    for (QByteArray line = child.readLine(); !line.isEmpty(); line = child.readLine()) {
        line = line.trimmed();
        if (line.startsWith("case ")) {
            ++results.begun;
            progress.at = line.mid(5).toLong();
            progress.name.clear();
        } else if (line.startsWith("name ")) {
            progress.name = line.mid(5).toStdString();
        } else if (line.startsWith("bad ")) {
            ++results.bad;
            report.problem("case " + std::to_string(progress.at) + " " + progress.name + ": " +
                           line.mid(4).toStdString());
        } else if (line.startsWith("figure ")) {
            const int space = line.indexOf(' ', 7);
            const int nameBegin = line.indexOf(' ', space + 1);
            report.atMost(line.mid(nameBegin + 1).toStdString(), line.mid(7, space - 7).toLong(),
                          line.mid(space + 1, nameBegin - space - 1).toLong());
        } else if (line.startsWith("done ")) {
            report.done(line.mid(5).toStdString());
        } else if (line.startsWith("missing ")) {
            report.notRun(line.mid(8).toStdString());
        } else if (line == "end") {
            progress.hasEnded = true;
        }
    }
    return progress;
}

} // namespace

CaseResults runCases(Report& report, const QString& act, long count, const QStringList& environment,
                     const QStringList& arguments) {
    CaseResults results;
    qputenv(longForm, report.isLong() ? "1" : "");
    for (long first = 0; first < count;) {
        Child child(act, QStringList{QString::number(first), QString::number(count)} + arguments,
                    environment);
        const Progress progress = follow(child, report, results);
        const bool isStuck = child.process().state() != QProcess::NotRunning && !progress.hasEnded;
        if (isStuck)
            (void)child.kill();
        const int status = isStuck ? 0 : child.wait();
        if (progress.hasEnded && status == 0)
            break;
        isStuck ? ++results.stuck : ++results.crashes;
        report.problem("case " + std::to_string(progress.at) + " " + progress.name +
                       (isStuck ? " does not end" : " ended with " + std::to_string(status)) +
                       lastWords(child.standardError()));
        if (progress.hasEnded || progress.at < first)
            break; // It is not a case that is at fault.
        first = progress.at + 1;
    }
    return results;
}

long judgeCases(Report& report, const QString& act, long count, const std::string& bad,
                const QStringList& arguments) {
    const CaseResults results = runCases(report, act, count, {}, arguments);
    report.never("crashes", results.crashes);
    report.never("cases without end", results.stuck);
    report.never(bad, results.bad);
    return results.begun;
}

int doCases(const QStringList& arguments, const std::function<std::string(long)>& run) {
    const long end = arguments.value(1).toLong();
    for (long number = arguments.value(0).toLong(); number < end; ++number) {
        std::printf("case %ld\n", number);
        std::fflush(stdout);
        const std::string wrong = run(number);
        if (!wrong.empty())
            std::printf("bad %s\n", wrong.c_str());
    }
    std::printf("end\n");
    std::fflush(stdout);
    return 0;
}

bool isLongForm() {
    return !qEnvironmentVariableIsEmpty(longForm);
}

void nameCase(const std::string& name) {
    std::printf("name %s\n", name.c_str());
    std::fflush(stdout);
}

void reportAtMost(const std::string& name, long value, long bound) {
    std::printf("figure %ld %ld %s\n", value, bound, name.c_str());
    std::fflush(stdout);
}

void reportDone(const std::string& text) {
    std::printf("done %s\n", text.c_str());
    std::fflush(stdout);
}

void reportNotRun(const std::string& text) {
    std::printf("missing %s\n", text.c_str());
    std::fflush(stdout);
}
