// The Windows side of the platform seam: console control events and session
// end, FlushFileBuffers, priority classes. Windows has no pseudo-terminals.
#include "platform/Platform.h"

#include <QFileDevice>
#include <QMutex>
#include <QStringList>
#include <QThread>
#include <thread>

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <io.h>
#include <windows.h>

namespace platform {

namespace {
QString lastError()
{
    return qt_error_string(int(::GetLastError()));
}

// Handlers run on threads of the system's; they reach the watching object
// through these, under the lock, so it can go away at any time.
QMutex ownerLock;
ShutdownRequests* owner = nullptr;
// Set when the program has closed its files; made once, never closed, so a
// handler still waiting on it can't see it vanish.
HANDLE finishedEvent = nullptr;
constexpr DWORD kFinishWaitMs = 4500; // the system waits 5 s for a closed console

bool post(const QString& what)
{
    QMutexLocker lock(&ownerLock);
    if (!owner)
        return false;
    ShutdownRequests* o = owner;
    QMetaObject::invokeMethod(
        o, [o, what] { Q_EMIT o->requested(what); }, Qt::QueuedConnection);
    return true;
}

void waitUntilFinished()
{
    ::WaitForSingleObject(finishedEvent, kFinishWaitMs);
}

BOOL WINAPI onConsoleEvent(DWORD type)
{
    QString what;
    bool endsProcess = false;
    switch (type) {
    case CTRL_C_EVENT:
        what = QStringLiteral("Ctrl+C");
        break;
    case CTRL_BREAK_EVENT:
        what = QStringLiteral("Ctrl+Break");
        break;
    case CTRL_CLOSE_EVENT:
        what = QStringLiteral("console closed");
        endsProcess = true;
        break;
    case CTRL_LOGOFF_EVENT:
        what = QStringLiteral("logoff");
        endsProcess = true;
        break;
    case CTRL_SHUTDOWN_EVENT:
        what = QStringLiteral("shutdown");
        endsProcess = true;
        break;
    default:
        return FALSE;
    }
    if (!post(what))
        return FALSE;
    // Returning lets the system end the process: first let the files close.
    if (endsProcess)
        waitUntilFinished();
    return TRUE;
}

// A program that loads user32.dll (every Qt program) gets no console event
// for logoff or shutdown: those come as WM_ENDSESSION to its top-level
// windows. A hidden window of our own, on a thread of its own, takes them,
// so the wait for the files does not stop the event loop that closes them.
LRESULT CALLBACK sessionWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_QUERYENDSESSION)
        return TRUE;
    if (message == WM_ENDSESSION) {
        if (wParam && post((lParam & ENDSESSION_LOGOFF) ? QStringLiteral("logoff")
                                                        : QStringLiteral("shutdown")))
            waitUntilFinished();
        return 0;
    }
    return ::DefWindowProcW(window, message, wParam, lParam);
}

constexpr wchar_t kSessionWindowClass[] = L"VelmoraSessionEnd";
} // namespace

struct ShutdownRequests::Impl
{
    std::thread windowThread;
    DWORD windowThreadId = 0;
};

ShutdownRequests::ShutdownRequests(QObject* parent) : QObject(parent), d_(std::make_unique<Impl>())
{
    {
        QMutexLocker lock(&ownerLock);
        if (owner) {
            error_ = QStringLiteral("shutdown requests are already watched");
            return;
        }
        if (!finishedEvent)
            finishedEvent = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
        if (!finishedEvent) {
            error_ = lastError();
            return;
        }
        ::ResetEvent(finishedEvent);
        owner = this;
    }
    if (!::SetConsoleCtrlHandler(onConsoleEvent, TRUE)) {
        error_ = lastError();
        QMutexLocker lock(&ownerLock);
        owner = nullptr;
        return;
    }
    // The window's thread says its id once its queue exists, so that the
    // destructor can always end its loop.
    HANDLE ready = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    DWORD* threadId = &d_->windowThreadId;
    d_->windowThread = std::thread([ready, threadId] {
        MSG msg;
        ::PeekMessageW(&msg, nullptr, 0, 0, PM_NOREMOVE); // makes the queue
        *threadId = ::GetCurrentThreadId();
        ::SetEvent(ready);
        const HINSTANCE instance = ::GetModuleHandleW(nullptr);
        WNDCLASSW wc = {};
        wc.lpfnWndProc = sessionWindowProc;
        wc.hInstance = instance;
        wc.lpszClassName = kSessionWindowClass;
        ::RegisterClassW(&wc);
        HWND window = ::CreateWindowExW(0, kSessionWindowClass, L"", WS_OVERLAPPED, 0, 0, 0, 0,
                                        nullptr, nullptr, instance, nullptr);
        while (::GetMessageW(&msg, nullptr, 0, 0) > 0) {
            ::TranslateMessage(&msg);
            ::DispatchMessageW(&msg);
        }
        if (window)
            ::DestroyWindow(window);
        ::UnregisterClassW(kSessionWindowClass, instance);
    });
    ::WaitForSingleObject(ready, INFINITE);
    ::CloseHandle(ready);
    watching_ = true;
}

ShutdownRequests::~ShutdownRequests()
{
    if (!watching_)
        return;
    finished();
    ::SetConsoleCtrlHandler(onConsoleEvent, FALSE);
    ::PostThreadMessageW(d_->windowThreadId, WM_QUIT, 0, 0);
    d_->windowThread.join();
    QMutexLocker lock(&ownerLock);
    owner = nullptr;
}

void ShutdownRequests::finished()
{
    if (finishedEvent)
        ::SetEvent(finishedEvent);
}

bool syncFile(QFileDevice& file, QString* why)
{
    if (!file.isOpen())
        return true;
    file.flush();
    const auto h = reinterpret_cast<HANDLE>(::_get_osfhandle(file.handle()));
    if (h != INVALID_HANDLE_VALUE && ::FlushFileBuffers(h))
        return true;
    if (why)
        *why = lastError();
    return false;
}

QString raisePriority()
{
    QStringList refused;
    if (!::SetPriorityClass(::GetCurrentProcess(), HIGH_PRIORITY_CLASS))
        refused << lastError();
    if (!::SetThreadPriority(::GetCurrentThread(), THREAD_PRIORITY_TIME_CRITICAL))
        refused << lastError();
    return refused.join(QStringLiteral("; "));
}

struct Pty::Impl
{
};

bool Pty::available()
{
    return false;
}

Pty::Pty(QObject* parent) : QObject(parent), d_(std::make_unique<Impl>()) {}

Pty::~Pty() = default;

bool Pty::open(QString* error)
{
    if (error)
        *error = QStringLiteral("This system has no pseudo-terminals");
    return false;
}

void Pty::close() {}

bool Pty::isOpen() const
{
    return false;
}

QByteArray Pty::readAll()
{
    return {};
}

qint64 Pty::write(const char*, qint64)
{
    return -1;
}

} // namespace platform
