#pragma once

#include <QtCore/QJsonObject>

#include <functional>

/// The main function of a benchmark that needs a QApplication: reads the options "--rounds",
/// "--json" and "--platform", measures, and writes the numbers to a file where that is wanted.
/// `measure` prints what it found and throws std::runtime_error where nothing can be measured.
int benchmarkMain(int argc, char** argv, const char* description,
                  const std::function<QJsonObject(int rounds)>& measure);
