#pragma once

#include "debuglines.h"
#include "threadcourier.h"
#include "updateinformation.h"

#include <QStringList>
#include <QTemporaryDir>
#include <QThread>

#include <memory>
#include <type_traits>
#include <utility>

/**
 * An UpdateInformation in a thread of its own, as in the product, and a transcript of all that it does: its log lines
 * and, each with "-> " before it, its signals, in order.
 *
 * Temporary folders are made in a private folder, which goes with this object; the current folder is then the former
 * one again.
 */
class InformationThread
{
public:
    InformationThread();
    ~InformationThread();
    Q_DISABLE_COPY_MOVE(InformationThread)

    /// Calls a function with the object in its thread, waits for it and gives what it gives.
    template <typename Function>
    auto in(Function function)
    {
        using Result = decltype(function(std::declval<UpdateInformation &>()));
        if constexpr (std::is_void_v<Result>) {
            m_courier.carry([&] { function(*m_information); });
        } else {
            Result result{};
            m_courier.carry([&] { result = function(*m_information); });
            return result;
        }
    }

    /// Asks for the document at an address, which is stored in the settings first.
    void fetch(const QString &address);

    /// Asks for a package.
    void download(const QString &address);

    /// Cancels as the progress window does.
    void cancel();

    /// All so far. "TEMP" stands for a temporary folder, "REST" for the rest of a body that has come.
    QStringList transcript();

    /// The transcript without progress, which comes as the network pleases.
    QStringList story();

    /// The signals of the story, without the arrows.
    QStringList outcome();

    /// Waits until the transcript holds a line; false after 30 s.
    bool waitFor(const QString &line);

    /// Forgets the transcript.
    void forget();

    /// Ends the object's work and its thread, as its owner does.
    void end();

    /// Destroys the object in its thread, and ends that.
    void destroyInThread();

    /// The folder in which temporary folders are made.
    QString folder() const { return m_folder.path(); }

    /// Full paths of all files below folder().
    QStringList files() const;

private:
    void listen();
    void take();

    const QString m_formerFolder;
    QTemporaryDir m_folder;
    DebugLines m_debugLines;
    QStringList m_transcript; // of the object's thread
    QThread m_thread;
    ThreadCourier m_courier;
    std::unique_ptr<UpdateInformation> m_information;
};
