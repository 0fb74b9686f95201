#pragma once
#include <string>
#include <string_view>

#include "Dialect.h"
#include "JobSource.h"

// The lines that the pool sends, without their line feed.

struct ReplyError {
    int code;
    std::string_view text;
};

// id and result are JSON text.
std::string ResultReply(Dialect dialect, std::string_view id, std::string_view result);
// Modes 0 and 1 carry the error as an object, modes 2 and 3 as an array.
std::string ErrorReply(Dialect dialect, std::string_view id, const ReplyError& error);

// The name by which the dialect knows a job.
std::string JobName(Dialect dialect, const PoolJob& job);
// A job sent of the pool's own accord; boundary is used by the dialects that carry it.
std::string JobLine(Dialect dialect, const PoolJob& job, const Hash256& seed, const Hash256& boundary);
// The result of eth_getWork.
std::string WorkArray(const PoolJob& job, const Hash256& seed, const Hash256& boundary);
std::string DifficultyLine(double difficulty);
std::string NiceHashSubscription(std::string_view session, std::string_view extranonce);
