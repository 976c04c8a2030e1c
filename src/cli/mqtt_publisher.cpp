// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "cli/mqtt_publisher.h"

#include "datafile/data_folder.h"
#include "live/mqtt_messages.h"
#include "live/mqtt_rules.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <mosquitto.h>

namespace pa::cli {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// The tracer lines about the connection go to standard error, beside the samples.
void say(const std::string& text) {
    std::fprintf(stderr, "mqtt: %s\n", text.c_str());
    std::fflush(stderr);
}

std::string reason(int rc, int error) {
    if (rc == MOSQ_ERR_ERRNO && error != 0)
        return datafile::systemReason(error);
    return mosquitto_strerror(rc);
}

// A long setting shown in a message: its beginning.
std::string shortened(const std::string& text) {
    return text.size() <= 40 ? text : text.substr(0, 40) + "...";
}

} // namespace

MqttPublisher::MqttPublisher(cmdline::MqttOptions options, double samplingSeconds,
                             std::string swVersion)
    : options_(std::move(options)) {
    if (options_.discoveryPrefix.empty())
        options_.discoveryPrefix = live::kDiscoveryPrefix;
    discovery_ = {options_.deviceId, std::move(swVersion),
                  live::expireAfterSeconds(samplingSeconds), options_.discoveryPrefix};
    const live::Topics topics = live::topicsFor(options_.topic);
    stateTopic_ = topics.state;
    availabilityTopic_ = topics.availability;
    statusTopic_ = options_.discoveryPrefix + "/status";
}

MqttPublisher::~MqttPublisher() {
    finish();
    // A thread left in a name lookup keeps the client: the process is ending anyway.
    if (client_ && !threadLeft_)
        mosquitto_destroy(client_);
}

std::string MqttPublisher::where() const {
    return options_.host + ":" + std::to_string(options_.port);
}

std::string MqttPublisher::start() {
    static const int init = mosquitto_lib_init();
    (void)init;
    // The files are read (or looked at) here, without waiting on a pipe or a device.
    live::Secret password;
    if (!options_.passwordFile.empty()) {
        password = live::readPasswordFile(options_.passwordFile);
        if (!password.error.empty())
            return password.error;
    }
    if (!options_.tlsCa.empty())
        if (std::string error = live::checkCertificateFile("--tls-ca", options_.tlsCa);
            !error.empty())
            return error;

    client_ = mosquitto_new(options_.clientId.c_str(), true, this);
    if (!client_)
        return "could not set up the MQTT client for the client id " +
               shortened(options_.clientId) + ": " + datafile::systemReason(errno);
    mosquitto_threaded_set(client_, true); // driven by our thread, published to from others
    mosquitto_will_set(client_, availabilityTopic_.c_str(), 7, live::kOffline, 1, true);
    if (!options_.username.empty())
        mosquitto_username_pw_set(client_, options_.username.c_str(),
                                  options_.passwordFile.empty() ? nullptr : password.value.c_str());
    if (!options_.tlsCa.empty())
        if (const int rc = mosquitto_tls_set(client_, options_.tlsCa.c_str(), nullptr, nullptr,
                                             nullptr, nullptr);
            rc != MOSQ_ERR_SUCCESS)
            return "--tls-ca " + options_.tlsCa + ": the TLS library does not take it (" +
                   mosquitto_strerror(rc) + ")";
    mosquitto_connect_callback_set(client_, onConnect);
    mosquitto_publish_callback_set(client_, onPublish);
    mosquitto_log_callback_set(client_, onLog);
    mosquitto_message_callback_set(client_, onMessage);
    thread_ = std::thread([this] {
        run();
        threadEnded_ = true;
    });
    return "";
}

void MqttPublisher::run() {
    int retrySeconds = kFirstRetrySeconds;
    while (!stop_) {
        connection(retrySeconds);
        const auto until = Clock::now() + std::chrono::seconds(retrySeconds);
        while (!stop_ && Clock::now() < until)
            std::this_thread::sleep_for(milliseconds(20));
        retrySeconds = std::min(retrySeconds * 2, kLongestRetrySeconds);
    }
}

void MqttPublisher::connection(int& retrySeconds) {
    {
        // Whatever the client still held was thrown away when the connection ended.
        std::lock_guard lock(mutex_);
        pending_.clear();
    }
    answered_ = false;
    tlsError_.clear();
    errno = 0;
    if (const int rc = mosquitto_connect_async(client_, options_.host.c_str(), options_.port,
                                               kKeepAliveSeconds);
        rc != MOSQ_ERR_SUCCESS) {
        failed(rc, errno, retrySeconds);
        return;
    }
    const auto began = Clock::now();
    bool timedOut = false;
    int rc = MOSQ_ERR_SUCCESS;
    while (!stop_ && rc == MOSQ_ERR_SUCCESS) {
        errno = 0;
        rc = mosquitto_loop(client_, 50, 1);
        if (rc == MOSQ_ERR_SUCCESS && !answered_ &&
            Clock::now() - began >= std::chrono::seconds(kAnswerSeconds)) {
            timedOut = true;
            break;
        }
    }
    const int error = errno;
    const bool wasConnected = connected_.exchange(false);
    if (rc == MOSQ_ERR_SUCCESS) {
        // Ending it ourselves: DISCONNECT (so that the broker keeps its last will to itself),
        // then the socket is closed.
        mosquitto_disconnect(client_);
        for (int i = 0; i < 20 && mosquitto_loop(client_, 50, 1) == MOSQ_ERR_SUCCESS; ++i) {
        }
    }
    if (stop_)
        return;
    if (wasConnected) {
        retrySeconds = kFirstRetrySeconds;
        trouble("connection lost", "lost the connection to " + where() + "; reconnecting", 0);
    } else if (timedOut) {
        trouble("no answer from the broker",
                "no answer from the broker at " + where() + " within " +
                    std::to_string(kAnswerSeconds) +
                    " s: something takes the connection but does not answer as an MQTT broker "
                    "(a wrong port, or one that expects TLS?)",
                retrySeconds);
    } else if (!answered_) {
        failed(rc, error, retrySeconds);
    } // else refused, which connected() has said
}

void MqttPublisher::failed(int rc, int error, int retrySeconds) {
    if (!tlsError_.empty() || rc == MOSQ_ERR_TLS || (rc == MOSQ_ERR_ERRNO && error == EPROTO)) {
        if (tlsError_.find("certificate verify failed") != std::string::npos)
            trouble("TLS verification failed",
                    "TLS verification failed: the certificate of " + where() +
                        " is not signed by --tls-ca " + options_.tlsCa + ", or names another host",
                    retrySeconds);
        else
            trouble("TLS failed",
                    "TLS with " + where() + " failed (" +
                        (tlsError_.empty() ? reason(rc, error) : tlsError_) +
                        "); is it a TLS port?",
                    retrySeconds);
    } else {
        trouble("broker not reachable",
                "cannot reach " + where() + " (" + reason(rc, error) +
                    "); samples are not sent until it answers",
                retrySeconds);
    }
}

void MqttPublisher::trouble(const std::string& kind, const std::string& text, int retrySeconds) {
    {
        std::lock_guard lock(mutex_);
        if (kind == lastTrouble_)
            return; // said already; the tries go on quietly
        lastTrouble_ = kind;
    }
    say(retrySeconds > 0 ? text + "; trying again in " + std::to_string(retrySeconds) +
                               " s, then less often (at most every " +
                               std::to_string(kLongestRetrySeconds) + " s)"
                         : text);
}

void MqttPublisher::publish(const live::Readouts& readouts) {
    ++samples_;
    if (!client_ || finished_ || !connected_)
        return; // lost: counted in the summary
    const std::string json =
        live::stateJson(readouts, live::isoTimestamp(std::chrono::system_clock::now()));
    // Locked across the call, so that the note that it was written cannot come first.
    std::lock_guard lock(mutex_);
    if (static_cast<int>(pending_.size()) >= kMaxBacklog)
        return; // the broker does not keep up
    int mid = 0;
    if (mosquitto_publish(client_, &mid, stateTopic_.c_str(), static_cast<int>(json.size()),
                          json.data(), 0, false) == MOSQ_ERR_SUCCESS)
        pending_.insert(mid);
}

void MqttPublisher::setInstrumentAnswering(bool answering) {
    if (answering_.exchange(answering) != answering && client_ && connected_ && !finished_)
        publishAvailability();
}

void MqttPublisher::publishAvailability() {
    const char* text = answering_ ? live::kOnline : live::kOffline;
    mosquitto_publish(client_, nullptr, availabilityTopic_.c_str(),
                      static_cast<int>(std::char_traits<char>::length(text)), text, 0, true);
}

void MqttPublisher::sendRetained(const std::string& topic, const std::string& payload) {
    mosquitto_publish(client_, nullptr, topic.c_str(), static_cast<int>(payload.size()),
                      payload.data(), 0, true);
}

void MqttPublisher::publishRetained(const std::string& topic, const std::string& payload) {
    std::lock_guard lock(retainedLock_);
    retained_[topic] = payload;
    if (client_ && !finished_ && connected_)
        sendRetained(topic, payload);
}

std::string MqttPublisher::finish() {
    if (finished_ || !client_)
        return "";
    finished_ = true;
    const auto deadline = Clock::now() + milliseconds(kFinishWaitMs);
    const auto waitFor = [&](auto done) {
        while (connected_ && Clock::now() < deadline) {
            {
                std::lock_guard lock(mutex_);
                if (done())
                    return;
            }
            std::this_thread::sleep_for(milliseconds(5));
        }
    };
    // The last samples go out first, then "offline".
    waitFor([&] { return pending_.empty(); });
    if (connected_) {
        std::lock_guard lock(mutex_);
        int mid = 0;
        if (mosquitto_publish(client_, &mid, availabilityTopic_.c_str(), 7, live::kOffline, 0,
                              true) == MOSQ_ERR_SUCCESS)
            offlineMid_ = mid;
    }
    waitFor([&] { return offlineSent_; });
    stop_ = true;
    if (thread_.joinable()) {
        const auto stopBy = Clock::now() + milliseconds(kStopWaitMs);
        while (!threadEnded_ && Clock::now() < stopBy)
            std::this_thread::sleep_for(milliseconds(5));
        threadLeft_ = !threadEnded_;
        if (threadLeft_)
            thread_.detach(); // in a name lookup that does not end; the program does not wait
        else
            thread_.join();
    }

    std::lock_guard lock(mutex_);
    const long lost = samples_ - sent_;
    std::string summary = std::to_string(sent_) + " of " + std::to_string(samples_) +
                          " samples published to " + where() + " on " + stateTopic_;
    if (lost > 0)
        summary +=
            "; " + std::to_string(lost) + " could not be sent (" +
            (lastTrouble_.empty() ? "broker not reachable or not keeping up" : lastTrouble_) + ")";
    return summary;
}

void MqttPublisher::onConnect(mosquitto*, void* self, int rc) {
    static_cast<MqttPublisher*>(self)->connected(rc);
}
void MqttPublisher::onPublish(mosquitto*, void* self, int mid) {
    static_cast<MqttPublisher*>(self)->published(mid);
}
void MqttPublisher::onLog(mosquitto*, void* self, int, const char* text) {
    // The TLS library's complaints reach us only here ("OpenSSL Error[0]: ...").
    if (text && std::string_view(text).find("SSL") != std::string_view::npos)
        static_cast<MqttPublisher*>(self)->tlsError_ = text;
}

// On the network thread.
void MqttPublisher::connected(int rc) {
    answered_ = true;
    if (rc != 0) {
        const int wait = 0; // the refusal is said once; the tries go on quietly
        if (rc == 4 || rc == 5)
            trouble("not authorised",
                    "not authorised by " + where() + ": " +
                        (options_.username.empty()
                             ? "it wants a user name and password (--username, --password-file)"
                             : "the user name or password was refused") +
                        "; trying again now and then",
                    wait);
        else if (rc == 2)
            trouble("client id refused",
                    "the broker at " + where() + " refused the client id " +
                        shortened(options_.clientId) +
                        " (many brokers take only 1 to 23 letters and digits): choose one with "
                        "--client-id; trying again now and then",
                    wait);
        else
            trouble("connection refused",
                    where() + " refused the connection: " + mosquitto_connack_string(rc) +
                        " Trying again now and then",
                    wait);
        return;
    }
    {
        std::lock_guard lock(mutex_);
        lastTrouble_.clear();
    }
    publishConfigs();
    mosquitto_subscribe(client_, nullptr, statusTopic_.c_str(), 0);
    {
        std::lock_guard lock(retainedLock_);
        for (const auto& [topic, payload] : retained_)
            sendRetained(topic, payload);
        connected_ = true; // under the lock, so that publishRetained never misses both ways
    }
    say("connected to " + where() + ", publishing on " + stateTopic_);
}

void MqttPublisher::publishConfigs() {
    // QoS 0 throughout: the client reports a QoS 0 message as sent once it is written.
    publishAvailability();
    for (const auto& c : live::discoveryConfigs(options_.topic, discovery_))
        mosquitto_publish(client_, nullptr, c.topic.c_str(), static_cast<int>(c.payload.size()),
                          c.payload.data(), 0, true);
}

void MqttPublisher::publishAllRetained() {
    std::lock_guard lock(retainedLock_);
    for (const auto& [topic, payload] : retained_)
        sendRetained(topic, payload);
}

void MqttPublisher::onMessage(mosquitto*, void* self, const mosquitto_message* message) {
    // Home Assistant has (re)started: it wants the configs again.
    auto* publisher = static_cast<MqttPublisher*>(self);
    if (message->topic && publisher->statusTopic_ == message->topic &&
        std::string_view(static_cast<const char*>(message->payload),
                         static_cast<std::size_t>(message->payloadlen)) == live::kOnline &&
        !publisher->finished_) {
        publisher->publishConfigs();
        publisher->publishAllRetained(); // the alarms' configs and states too
    }
}

void MqttPublisher::published(int mid) {
    std::lock_guard lock(mutex_);
    if (pending_.erase(mid))
        ++sent_;
    else if (mid == offlineMid_)
        offlineSent_ = true;
}

} // namespace pa::cli
