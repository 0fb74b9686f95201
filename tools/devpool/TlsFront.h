#pragma once
#include <boost/asio/io_context.hpp>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "Options.h"

// Stands before a pool that speaks plain text: takes encrypted connections and passes on what they say. Every call on the
// io_context's thread; outlives the run of the io_context.
class ITlsFront {
  public:
    virtual ~ITlsFront() = default;
    // "127.0.0.1:4444", with the port that the system chose.
    virtual std::string Endpoint() const = 0;
    // Takes no more connections and ends those that are there.
    virtual void Stop() = 0;
};

// Listens at once, where the options say. Throws std::runtime_error when it cannot; a build for Windows always does.
std::unique_ptr<ITlsFront> MakeTlsFront(boost::asio::io_context& io, const PoolOptions& options, std::uint16_t poolPort,
                                        const std::function<void(const std::string&)>& print);
