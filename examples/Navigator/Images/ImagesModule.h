#pragma once

#include "Common/WorkflowModule.h"
#include "Images/ImagesOptions.h"
#include "Observer/CaSubject.h"

class QtElidedLabel;
class ImagesView;
class ProblemList;

/// The second step: a series of images is opened and looked through.
class ImagesModule : public WorkflowModule {
    Q_OBJECT

public:
    /// Without paths the images of the last time are shown again, or the example images.
    explicit ImagesModule(const QStringList& paths = {});

    void activate() override;
    void deactivate() override;

    /// Opens files and folders. Where none of them holds an image, what is open stays and the
    /// reason is shown.
    void open(const QStringList& paths);

private:
    void loadOptions();
    void createContext();
    /// Why nothing could be opened; an empty problem after a success.
    struct Opening {
        QString problem;
        bool isCancelled = false;
    };

    void openForTheFirstTime();
    void takeFocus();
    bool openAgain();
    void openPhantom();
    Opening openPaths(const QStringList& paths, int slice);
    void report(const Opening& opening);
    void chooseImages();
    void chooseFolder();
    QString startFolder() const;
    void showPatient();

    QStringList m_paths;
    DataPointer<ImagesOptions> m_options;
    ImagesView* m_view; ///< Owned by the base.
    QtElidedLabel* m_source = nullptr;
    ProblemList* m_problems = nullptr;
    CaConnection m_patientChanges;
};
