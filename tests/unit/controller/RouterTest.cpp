#include "serve/Router.h"

#include <gtest/gtest.h>

namespace {

const std::string kToken(64, 'a');

struct Fixture {
    boost::asio::io_context io{1};
    CFleet fleet{io, {{"rig", 8010}}, ""};
    CRouter router{fleet, kToken, {"localhost", "127.0.0.1", "[::1]"}};
};

HttpRequest Get(const std::string& target) {
    return {"GET", target, "localhost:8011", "", "", "", ""};
}

HttpRequest Post(const std::string& target, const std::string& body = "{}") {
    return {"POST", target, "localhost:8011", "http://localhost:8011", "Bearer " + kToken, "application/json", body};
}

TEST(Router, WhatCanBeRead) {
    Fixture fixture;
    const struct {
        const char* target;
        const char* type;
        const char* part;
    } kCases[] = {
        {"/", "text/html; charset=utf-8", "<!doctype html>"},
        {"/app.js", "text/javascript; charset=utf-8", "textContent"},
        {"/metrics", "text/plain; version=0.0.4; charset=utf-8", "quorvel_rig_up{rig=\"rig:8010\"} 0\n"},
        {"/api/fleet", "application/json", "\"address\":\"rig:8010\""},
        {"/api/history", "application/json", "\"step\":20"},
        {"/api/history?rig=0", "application/json", "\"hash\":[]"},
    };
    for (const auto& [target, type, part] : kCases) {
        const HttpReply reply = fixture.router.Answer(Get(target));
        EXPECT_EQ(reply.status, 200u) << target;
        EXPECT_EQ(reply.contentType, type);
        EXPECT_NE(reply.body.find(part), std::string::npos) << reply.body.substr(0, 200);
    }
    for (const char* target :
         {"", "/nothing", "/../etc/passwd", "/api/history?rig=1", "/api/history?rig=-1", "/api/history?x", "//"})
        EXPECT_EQ(fixture.router.Answer(Get(target)).status, 404u) << target;
}

TEST(Router, OtherNamesAndOriginsAreRefused) {
    Fixture fixture;
    const struct {
        const char* host;
        const char* origin;
        unsigned status;
    } kCases[] = {
        {"LOCALHOST:1", "", 200},
        {"[::1]:8011", "http://[::1]:8011", 200},
        {"", "", 421},
        {"evil.example", "", 421},
        {"localhost.evil.example", "", 421},
        {"localhost:8011", "http://evil.example", 403},
        {"localhost:8011", "http://localhost:9", 403},
        {"localhost:8011", "null", 403},
    };
    for (const auto& [host, origin, status] : kCases) {
        HttpRequest request = Get("/metrics");
        request.host = host;
        request.origin = origin;
        EXPECT_EQ(fixture.router.Answer(request).status, status) << host << " " << origin;
    }
}

TEST(Router, CommandsNeedTheToken) {
    Fixture fixture;
    for (const std::string& authorization :
         {std::string(), kToken, "Basic " + kToken, std::string("Bearer "), "Bearer " + kToken.substr(1),
          "Bearer " + kToken.substr(1) + "b", "Bearer " + kToken + " "}) {
        HttpRequest request = Post("/api/rigs/0/start");
        request.authorization = authorization;
        EXPECT_EQ(fixture.router.Answer(request).status, 401u) << authorization;
    }
}

TEST(Router, CommandsThatCannotBe) {
    Fixture fixture;
    HttpRequest form = Post("/api/rigs/0/start");
    form.contentType = "text/plain";
    EXPECT_EQ(fixture.router.Answer(form).status, 415u);
    HttpRequest put = Post("/api/rigs/0/start");
    put.method = "PUT";
    EXPECT_EQ(fixture.router.Answer(put).status, 405u);
    // The one rig is not connected.
    EXPECT_EQ(fixture.router.Answer(Post("/api/rigs/0/start")).status, 503u);
    EXPECT_EQ(fixture.router.Answer(Post("/api/rigs/0/worker", R"({"name":"w"})")).status, 503u);
    for (const char* target : {"/api/rigs/1/start", "/api/rigs//start", "/api/rigs/0x/start", "/api/rigs/0", "/api/rigs/0/",
                               "/", "/api/rigs/0/start/", "/api/rigs/99999999999999999999/start"})
        EXPECT_EQ(fixture.router.Answer(Post(target)).status, 404u) << target;
    for (const char* body :
         {"", "[]", "{}", R"({"name":7})", R"({"name":""})", R"({"name":"eighteen-character"})", R"({"name":"a\u0007"})"})
        EXPECT_EQ(fixture.router.Answer(Post("/api/rigs/0/worker", body)).status, 400u) << body;
}

}  // namespace
