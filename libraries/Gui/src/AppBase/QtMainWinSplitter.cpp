#include "AppBase/QtMainWinSplitter.h"

QtMainWinSplitter::QtMainWinSplitter(const DataPointer<QuadViewConfig>& config, QWidget* parent)
    : QSplitter(Qt::Horizontal, parent), m_config(config) {}

QtMainWinSplitter::~QtMainWinSplitter() = default;
