// Status codes and the process-wide error log.
//
// Every engine operation reports failure by a negative int status; many
// return a non-negative result (a handle, a state) in the same int. Messages
// go to one log that belongs to no network: a list of (code, text) entries,
// oldest first, which the caller reads back after a failed call, or which a
// sink receives instead when one is installed. The log has no lock: the
// engine runs on one thread.
#ifndef ORVIL_ERRORS_H
#define ORVIL_ERRORS_H

#include <stdio.h>

#include "orvil/intarray.h"
#include "orvil/stringarray.h"

constexpr int QEL_OKAY = 0;
// Failure of an algorithm as a whole.
constexpr int QEL_GENERAL_ERROR = -1;
// The general failure: out of range, not found, invalid argument, refused.
constexpr int QEL_OUT_OF_RANGE = -2;
constexpr int QEL_INVALID_VALUE = -3;
constexpr int QEL_NOT_APPLICABLE = -4;
constexpr int QEL_NO_USEFUL_SAMPLES = -5;
constexpr int QEL_EQUATION_NOT_SOLVED = -6;
constexpr int QEL_CYCLE_ERROR = -11;
constexpr int QEL_TOO_FEW_STATES = -19;
constexpr int QEL_IMPOSSIBLE_EVIDENCE = -26;
constexpr int QEL_ILLEGAL_IDENTIFIER = -30;
constexpr int QEL_DUPLICATED_IDENTIFIER = -32;
constexpr int QEL_OUT_OF_MEMORY = -42;
constexpr int QEL_ZERO_POTENTIAL = -43;
constexpr int QEL_WRONG_NODE_TYPE = -51;
constexpr int QEL_WRONG_COLUMN_TYPE = -52;
constexpr int QEL_INTERRUPTED = -99;
constexpr int QEL_READ_FAILED = -100;
constexpr int QEL_WRITE_FAILED = -101;
constexpr int QEL_READ_LENGTH_ERROR = -102;
constexpr int QEL_FILE_IO_FAILED = -103;
constexpr int QEL_NO_MORE_TOKENS = -111;
constexpr int QEL_LEXICAL_ERROR = -126;
constexpr int QEL_SYNTAX_ERROR = -127;
constexpr int QEL_UNEXPECTED_EOF = -128;
constexpr int QEL_BAD_BLOCK = -129;
constexpr int QEL_OBJECT_NOT_READY = -567;
constexpr int QEL_OBJECT_NOT_CONSISTENT = -568;

// A sink that receives log entries in place of the log.
class QEL_errorStringRedirect {
public:
    virtual ~QEL_errorStringRedirect();
    // Receives one entry; `message` is never null.
    virtual void LogError(int code, const char* message) = 0;
};

// A sink that prints each entry to a FILE* it does not own.
class QEL_errorStringFileRedirect : public QEL_errorStringRedirect {
public:
    // `format` takes the code (%d) and the message (%s), in that order; null
    // means "%d: %s\n". The format text is not copied.
    explicit QEL_errorStringFileRedirect(FILE* file, const char* format = nullptr);
    void LogError(int code, const char* message) override;

private:
    FILE* file;
    const char* format;
};

// The error log: messages in the inherited string list, their codes in a
// parallel int list.
class QEL_errorStringHandler : public QEL_stringArray {
public:
    QEL_errorStringHandler();
    // Destroys an owned sink, then the lists.
    ~QEL_errorStringHandler() override;
    QEL_errorStringHandler(const QEL_errorStringHandler&) = delete;
    QEL_errorStringHandler& operator=(const QEL_errorStringHandler&) = delete;

    // Logs `prefix` followed at once by `message` under `code`. A null
    // message takes the default text of `code`; a null prefix adds nothing.
    // Code 0 logs nothing. With a sink installed the entry goes to the sink
    // and the log stays as it was. Returns `code`, so that a failing call
    // can end in `return QEL_errorH().LogError(...)`.
    int LogError(int code, const char* message = nullptr, const char* prefix = nullptr);
    // The newest code, or 0 when the log is empty.
    int GetLastError() const;
    // The newest message, or "NO ERRORS SO FAR" when the log is empty.
    const char* GetLastErrorMessage() const;
    // The code of entry `index`, oldest first; 0 when `index` is negative or
    // beyond the number of entries. `index` equal to the number of entries
    // reads the spare slot after the last entry (a stale code after Flush,
    // 0 when there is no such slot).
    int GetError(int index) const;
    // The message of entry `index`, with the same bounds; null outside them
    // or for a spare slot holding nothing.
    const char* GetErrorMessage(int index) const;
    int GetNumberOfErrors() const;
    // The standard text of a status code. Only some codes have their own
    // text; several failure codes read "NO ERROR", and any other code reads
    // "UNKNOWN ERROR CODE".
    static const char* GetDefaultErrorString(int code);
    // Empties the log.
    void Flush();
    // Destroys an owned sink, then installs `sink` without taking ownership;
    // null ends the redirection.
    void Redirect(QEL_errorStringRedirect* sink);
    // Destroys an owned sink; a non-null `file` then gets an owned
    // QEL_errorStringFileRedirect with `format` (see there). The file is
    // never closed by the log.
    void RedirectToFile(FILE* file, const char* format = nullptr);

private:
    void DropOwnedRedirect();

    QEL_intArray errorCodes;
    QEL_errorStringRedirect* redirect;
    bool ownsRedirect;
};

// The process-wide error log, created at first use and destroyed at exit.
// Every engine call that logs goes through it.
QEL_errorStringHandler& QEL_errorH();

// A second handler object constructed at start-up. The engine never logs
// to it; it exists for callers that address it by name.
extern QEL_errorStringHandler ErrorH;

#endif
