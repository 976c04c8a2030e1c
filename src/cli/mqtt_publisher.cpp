#include "cli/mqtt_publisher.h"

#include "live/mqtt_messages.h"

#include <QElapsedTimer>
#include <QThread>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <mosquitto.h>

namespace pa::cli {
namespace {

// The tracer lines about the connection go to standard error, beside the samples.
void say(const std::string& text) {
    std::fprintf(stderr, "mqtt: %s\n", text.c_str());
    std::fflush(stderr);
}

} // namespace

MqttPublisher::MqttPublisher(cmdline::MqttOptions options) : options_(std::move(options)) {
    const live::Topics topics = live::topicsFor(options_.topic);
    stateTopic_ = topics.state;
    availabilityTopic_ = topics.availability;
}

MqttPublisher::~MqttPublisher() {
    finish();
    if (client_)
        mosquitto_destroy(client_);
}

std::string MqttPublisher::where() const {
    return options_.host + ":" + std::to_string(options_.port);
}

std::string MqttPublisher::start() {
    static const int init = mosquitto_lib_init();
    (void)init;
    client_ = mosquitto_new(options_.clientId.c_str(), true, this);
    if (!client_)
        return "could not set up the MQTT client";
    mosquitto_will_set(client_, availabilityTopic_.c_str(), 7, live::kOffline, 1, true);
    if (!options_.username.empty()) {
        std::string password;
        if (!options_.passwordFile.empty()) {
            std::ifstream in(options_.passwordFile, std::ios::binary);
            if (!in || !std::getline(in, password))
                return "cannot read the password file " + options_.passwordFile;
            if (password.ends_with('\r'))
                password.pop_back();
        }
        mosquitto_username_pw_set(client_, options_.username.c_str(),
                                  options_.passwordFile.empty() ? nullptr : password.c_str());
    }
    if (!options_.tlsCa.empty() && mosquitto_tls_set(client_, options_.tlsCa.c_str(), nullptr,
                                                     nullptr, nullptr, nullptr) != MOSQ_ERR_SUCCESS)
        return "--tls-ca " + options_.tlsCa + ": cannot read the certificate file";
    mosquitto_reconnect_delay_set(client_, kFirstRetrySeconds, kLongestRetrySeconds, true);
    mosquitto_connect_callback_set(client_, onConnect);
    mosquitto_disconnect_callback_set(client_, onDisconnect);
    mosquitto_publish_callback_set(client_, onPublish);

    // A broker that is not up yet is no reason to stop: the network thread keeps trying.
    if (const int rc = mosquitto_connect_async(client_, options_.host.c_str(), options_.port,
                                               kKeepAliveSeconds);
        rc != MOSQ_ERR_SUCCESS) {
        warnedDown_ = true;
        say("cannot reach " + where() + " (" +
            (rc == MOSQ_ERR_ERRNO ? std::string(std::strerror(errno))
                                  : std::string(mosquitto_strerror(rc))) +
            "); samples are not sent until it answers");
    }
    if (const int rc = mosquitto_loop_start(client_); rc != MOSQ_ERR_SUCCESS)
        return std::string("could not start the MQTT client: ") + mosquitto_strerror(rc);
    return "";
}

void MqttPublisher::publish(const live::Readouts& readouts) {
    ++samples_;
    if (!client_ || finished_ || !connected_)
        return; // lost: counted in the summary
    if (queued_ - sent_ - dropped_ >= kMaxBacklog)
        return; // the broker does not keep up
    const std::string json =
        live::stateJson(readouts, live::isoTimestamp(std::chrono::system_clock::now()));
    if (mosquitto_publish(client_, nullptr, stateTopic_.c_str(), static_cast<int>(json.size()),
                          json.data(), 0, false) == MOSQ_ERR_SUCCESS)
        ++queued_;
}

void MqttPublisher::sendRetained(const std::string& topic, const std::string& payload) {
    ++controlPending_;
    if (mosquitto_publish(client_, nullptr, topic.c_str(), static_cast<int>(payload.size()),
                          payload.data(), 0, true) != MOSQ_ERR_SUCCESS)
        --controlPending_;
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
    QElapsedTimer waited;
    waited.start();
    const auto waitFor = [&](auto done) {
        while (!done() && connected_ && waited.elapsed() < kFinishWaitMs)
            QThread::msleep(5);
    };
    // The last samples go out first, then "offline".
    waitFor([&] { return queued_ - sent_ - dropped_ <= 0 && controlPending_ == 0; });
    const long sent = sent_;
    finishing_ = true;
    const bool online = connected_;
    if (online) {
        mosquitto_publish(client_, nullptr, availabilityTopic_.c_str(), 7, live::kOffline, 0, true);
        waitFor([&] { return bool(offlineSent_); });
    }
    mosquitto_disconnect(client_);
    mosquitto_loop_stop(client_, !online);

    const long lost = samples_ - sent;
    std::string summary = std::to_string(sent) + " of " + std::to_string(samples_) +
                          " samples published to " + where() + " on " + stateTopic_;
    if (lost > 0)
        summary += "; " + std::to_string(lost) +
                   " could not be sent (broker not reachable or not keeping up)";
    return summary;
}

void MqttPublisher::onConnect(mosquitto*, void* self, int rc) {
    static_cast<MqttPublisher*>(self)->connected(rc);
}
void MqttPublisher::onDisconnect(mosquitto*, void* self, int rc) {
    static_cast<MqttPublisher*>(self)->disconnected(rc);
}
void MqttPublisher::onPublish(mosquitto*, void* self, int) {
    static_cast<MqttPublisher*>(self)->published();
}

// On the network thread.
void MqttPublisher::connected(int rc) {
    if (rc != 0) {
        say(where() + " refused the connection: " + mosquitto_connack_string(rc));
        return;
    }
    // What the client still held from the last connection was thrown away on reconnecting.
    dropped_ = queued_ - sent_;
    const auto configs = live::discoveryConfigs(options_.topic);
    controlPending_ = static_cast<int>(configs.size()) + 1;
    // QoS 0 throughout: the client reports a QoS 0 message as sent when it is written, in
    // the order queued, which is how samples are told apart from these.
    mosquitto_publish(client_, nullptr, availabilityTopic_.c_str(), 6, live::kOnline, 0, true);
    for (const auto& c : configs)
        mosquitto_publish(client_, nullptr, c.topic.c_str(), static_cast<int>(c.payload.size()),
                          c.payload.data(), 0, true);
    {
        std::lock_guard lock(retainedLock_);
        for (const auto& [topic, payload] : retained_)
            sendRetained(topic, payload);
        connected_ = true; // under the lock, so that publishRetained never misses both ways
    }
    warnedDown_ = false;
    say("connected to " + where() + ", publishing on " + stateTopic_);
}

void MqttPublisher::disconnected(int) {
    const bool was = connected_.exchange(false);
    if (was && !finishing_ && !warnedDown_.exchange(true))
        say("lost the connection to " + where() + "; reconnecting");
}

void MqttPublisher::published() {
    if (finishing_)
        offlineSent_ = true;
    else if (controlPending_ > 0)
        --controlPending_;
    else
        ++sent_;
}

} // namespace pa::cli
