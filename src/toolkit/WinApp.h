#pragma once

class CWnd;

// The application object of a dialog-based program. GUI thread.
class CWinApp {
  public:
    CWinApp() = default;
    virtual ~CWinApp() = default;
    CWinApp(const CWinApp&) = delete;
    CWinApp& operator=(const CWinApp&) = delete;

    // False ends the process without a message loop: a dialog-based program runs its dialog in here.
    virtual bool InitInstance() { return true; }
    virtual int ExitInstance() { return 0; }

    // Runs the program: InitInstance, then always ExitInstance, whose result is returned.
    int Run();

    CWnd* m_pMainWnd = nullptr;

  protected:
    // Dispatches messages until PostQuitMessage.
    static void RunMessageLoop();
};
