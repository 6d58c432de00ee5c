#pragma once

#include "Images/ImagesOptions.h"
#include "Volume/VolumeModule.h"

class QFileDialog;
class QtElidedLabel;
class ProblemList;

/// The second step: a series of images is opened and looked through, as a volume in four panes
/// where it is one.
class ImagesModule : public VolumeModule {
    Q_OBJECT

public:
    /// Without paths the images of the last time are shown again, if they are of the patient who
    /// is the current one when the module is first seen, or else the example images.
    explicit ImagesModule(std::shared_ptr<VolumePanes> panes, const QStringList& paths = {});

    /// Opens files and folders for the current patient. Where none of them holds an image, what is
    /// open stays and the reason is shown.
    void open(const QStringList& paths);

protected:
    PaneControl* arrange() override;

private:
    void loadOptions();
    void createContext();
    /// Why nothing could be opened; an empty problem after a success.
    struct Opening {
        QString problem;
        bool isCancelled = false;
        bool isOfFormerPatient = false; ///< Another became the current one meanwhile.
    };

    void openForTheFirstTime();
    bool openAgain();
    void openPhantom();
    Opening openPaths(const QStringList& paths, int slice, const ImagesOwner& asked);
    void showSeries(const vlr::ImageSeries& series, const Volume& volume, const CaError& error,
                    int slice, const ImagesOwner& owner);
    void rememberPaths(const QStringList& paths, const ImagesOwner& owner);
    void rememberSlice(int slice);
    void forgetClosed();
    void report(const Opening& opening);
    void chooseImages();
    void chooseFolder();
    void openChosen(QFileDialog* dialog);
    QString startFolder() const;

    QStringList m_paths;
    DataPointer<ImagesOptions> m_options;
    bool m_isRemembered = false; ///< What is shown is what the options name.
    QtElidedLabel* m_source = nullptr;
    ProblemList* m_problems = nullptr;
};
