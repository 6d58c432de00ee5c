#pragma once

#include "Observer/CaSubject.h"

#include <string>

/// How a long operation reports its progress without knowing who shows it.
///
///     CaProgressMonitor* progress = CaProgressMonitor::getInstance();
///     progress->start("Reading slices ", count, true, true, 1);
///     for (...) { read(); progress->tick(); }
///     progress->end();
///
/// getInstance() is never null: until an application installs a monitor of its own, a silent one
/// answers. Observers are told CANCELLED when the user asks to stop.
class VLR_CORE_EXPORT CaProgressMonitor : public CaSubject {
public:
    static const char* const CANCELLED;

    static CaProgressMonitor* getInstance();
    /// Installs a monitor, taking ownership; the previous one is deleted. Null brings the silent
    /// one back, and so does the end of the application object.
    static void setInstance(CaProgressMonitor* monitor);

    ~CaProgressMonitor() override;

    virtual void start(); ///< An operation of unknown length without a counter.
    /// `totalSteps` 0 means unknown; `progressStep` is what one tick() adds.
    virtual void start(const std::string& text, int totalSteps, bool cancelable, bool showCounter,
                       int progressStep);
    virtual void end();
    virtual void tick();
    virtual void reset();
    virtual void setProgress(int progress);
    virtual void setTotalSteps(int totalSteps);
    virtual void setText(const std::string& text);
    virtual void setShowCounterFlag(bool visible);
    virtual void setMinimumDuration(int milliseconds);

    virtual int getProgress() const;
    virtual int getTotalSteps() const;
    virtual std::string getText();
    virtual bool getShowCounterFlag() const;
    virtual int getMinimumDuration();

protected:
    CaProgressMonitor();
    virtual void update();
};
