// CCmdScheduler: runs shell commands on behalf of the library without blocking the caller, in one of three modes
// (m_nCmdSchedulerType, set before the start):
//
//   0  command files: every command is written as <home>shcmd_<key>.cmd for an outside daemon, which fCmdSchedulerStart
//      and fCmdSchedulerStop start and stop through the scripts cmd_scd_start.sh and cmd_scd_stop.sh of the home
//      directory
//   1  list: a thread starts pending commands every 10 seconds, each as "<command>;echo $? > <home><key>_<time> &",
//      and forgets a command once its result file exists. A command that itself ends in "&" is run with a blank in
//      place of the ";", which the shell would refuse after "&"; its status is then that of its start
//   2  queue: a thread runs the queued commands one after another and waits for each
//
// The embedding program owns the scheduler and may install it in g_pclCCmdScheduler. Every operation may be called from
// any thread. A scheduler that is destroyed gives up what is still pending; its thread ends when it wakes, and a
// command that is running then runs to its end.
//
// The child of a fork has a scheduler without a thread and with nothing pending, which the parent runs: command files
// go on as before, list and queue are started anew.
//
// Messages go to the log (source name "NCmdScheduler"): requests under the module and detail "UNI", the threads under
// "LAB" and detail 14, the queue thread whenever a logger is installed.
#pragma once

#include "Queue.h"

#include <ctime>
#include <list>
#include <memory>

namespace zel {
struct SchedulerState;
}

inline constexpr int SCHEDULER_HOME_SIZE = 512;
inline constexpr int SCHEDULER_KEY_SIZE = 512;
inline constexpr int SCHEDULER_QUEUE_LIMIT = 51; // queued commands; further ones are dropped

enum SchedulerMode { SCHEDULER_FILES = 0, SCHEDULER_LIST = 1, SCHEDULER_QUEUE = 2 };

/// One pending command of the list mode. The texts are owned (malloc).
struct _CMD_SCHEDULER {
    int l_nStatus; // 0 not started, 1 started
    char l_strCmdReqKey[SCHEDULER_KEY_SIZE];
    char *l_pstrCmdStr;     // the command line that is run
    char *l_pstrResultFile; // takes its exit status
};

/// One queued command of the queue mode. The text is owned (malloc).
struct MessageQData {
    char *m_pstrCollectData;
    std::time_t m_nCollectTime; // when it was queued
};

/// 1 while a start or stop script of any scheduler of the process runs; looked at once a second.
extern int g_nCmdSync;

class CCmdScheduler {
public:
    CCmdScheduler();
    ~CCmdScheduler();

    CCmdScheduler(const CCmdScheduler &) = delete;
    CCmdScheduler &operator=(const CCmdScheduler &) = delete;

    /// Takes the home directory, adding its trailing "/"; a path longer than its field is cut. Returns 1; 0 for null
    /// or without memory. Set before the start. A home that is not shellSafePath starts no command.
    int fSetCmdSchedulerHomePath(const char *dir);

    /// List and queue mode: starts the thread, once. Returns 1, -1 when it cannot be started. Other modes: runs the
    /// start script and waits for it. Returns 1, 0 without a usable home directory.
    int fCmdSchedulerStart();
    /// List mode: forgets every pending command. Other modes: runs the stop script and waits for it. Returns 1, 0
    /// without a usable home directory.
    int fCmdSchedulerStop();

    /// The entry point of callers, in every mode: hands `command` over under the request key `key`. Returns 0 when it
    /// is taken (or need not be: the same request is pending, the daemon is running a command), -1 when it is not. In
    /// the list mode the key is a name (see shellSafe), to which the time is added; in the mode of command files every
    /// byte of it that is no ASCII letter or digit becomes "_".
    int fCmdSave(const char *key, const char *command);
    /// Adds a command to the list. A command line that is pending already is dropped. Returns 0, -1 for a refused
    /// home directory, key or command.
    int fCmdPush(const char *key, const char *command);
    /// Adds a command to the queue. Returns 0; -1 when the queue is full, or before the start.
    int fCmdQueuePush(const char *command);

    int m_nCmdSaveFlag;                    // 1: a command file was saved or found since the daemon's start
    int m_nCmdRunFlag;                     // 1: the daemon is running a command; nothing is saved
    std::list<_CMD_SCHEDULER *> m_CmdList; // list mode; owned
    int m_nSyncFlag;                       // 1: a caller is changing the list
    char *m_pstrCmdSchedulerHome;          // SCHEDULER_HOME_SIZE bytes, ends in "/"; null before it is set; owned
    int m_nCmdSchedulerType;
    char m_strLogMsg[1024];           // last message of a caller
    int m_nThreadStart;               // 1: the thread runs
    Queue<MessageQData *> *m_pcQueue; // queue mode, after the start; owned

private:
    friend void *fCmdSchedulerTh(void *scheduler);
    friend void *fCmdQueueSchedulerTh(void *scheduler);

    std::unique_ptr<zel::SchedulerState> m_state;
};

/// The installed scheduler, or null: then no command is scheduled. The embedding program owns it.
extern CCmdScheduler *g_pclCCmdScheduler;

/// The threads of the list and of the queue mode, for a program that runs them on threads of its own. `scheduler` is a
/// CCmdScheduler. Either ends when the scheduler is destroyed and returns null.
void *fCmdSchedulerTh(void *scheduler);
void *fCmdQueueSchedulerTh(void *scheduler);
