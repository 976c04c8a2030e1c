// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Publishes the monitor's samples to an MQTT broker with libmosquitto, driven by a network
// thread of its own, so that a broker that is down, slow or silent never holds up the live
// cycle.
//
// The thread keeps trying from the start: a broker that is not up yet (at boot, the usual
// order) is reached when it comes, after a pause of 1 s doubling up to 30 s between tries.
// What goes wrong is said on standard error as it happens, once per kind of trouble: the
// broker cannot be reached, TLS verification failed, not authorised, no answer within
// kAnswerSeconds (something takes the connection but does not speak MQTT). At every
// connection it publishes the retained availability and the discovery configs again.
//
// publish() only hands a message to the client's queue: while the broker cannot be reached,
// and when more than kMaxBacklog messages are still waiting to be written (a broker that
// does not keep up), the sample is dropped at once and counted. Availability is "offline"
// while the instrument is silent (NO COM), and the broker publishes the retained "offline"
// (the last will) when the program dies; finish() publishes it on a normal end and returns
// the summary of what was sent and what was lost. When Home Assistant announces itself
// ("online" on DISCOVERY_PREFIX/status) the configs and the availability are sent again.
#include "cmdline/command_options.h"
#include "live/live_cycle.h"
#include "live/mqtt_messages.h"

#include <atomic>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>

struct mosquitto;
struct mosquitto_message;

namespace pa::cli {

class MqttPublisher {
  public:
    static constexpr int kMaxBacklog = 64;       // messages queued but not yet written
    static constexpr int kKeepAliveSeconds = 30; // the broker's check on a silent client
    static constexpr int kFirstRetrySeconds = 1, kLongestRetrySeconds = 30;
    static constexpr int kAnswerSeconds = 5;   // from connecting to the broker's answer
    static constexpr int kFinishWaitMs = 3000; // for the last samples and "offline" to go out
    static constexpr int kStopWaitMs = 1000;   // for the network thread to end after that

    // swVersion goes into the discovery configs; options.deviceId, when set, is the device's
    // stable identity there (the serial adapter's serial number, or the client id).
    MqttPublisher(cmdline::MqttOptions options, double samplingSeconds, std::string swVersion = "");
    ~MqttPublisher();
    MqttPublisher(const MqttPublisher&) = delete;
    MqttPublisher& operator=(const MqttPublisher&) = delete;

    // Reads the password and checks the certificate file, sets up the client and starts
    // connecting in the background; "" or why it cannot.
    std::string start();
    // One sample; never waits for the network.
    void publish(const live::Readouts& readouts);
    // The instrument answers again, or has gone silent: availability "online" or "offline".
    void setInstrumentAnswering(bool answering);
    // A retained message beyond the samples' (an alarm's config or state): published now when
    // connected, and again at every connection; the latest payload per topic is kept.
    void publishRetained(const std::string& topic, const std::string& payload);
    // Publishes "offline", disconnects and returns the summary line.
    std::string finish();

    bool connected() const { return connected_; }
    long samples() const { return samples_; }
    long sent() {
        std::lock_guard lock(mutex_);
        return sent_;
    }

  private:
    static void onConnect(mosquitto*, void* self, int rc);
    static void onPublish(mosquitto*, void* self, int mid);
    static void onLog(mosquitto*, void* self, int level, const char* text);
    static void onMessage(mosquitto*, void* self, const mosquitto_message* message);
    void publishConfigs(); // availability and discovery configs
    void run();            // the network thread
    // One connection from connecting to its end, and what went wrong said; the pause before
    // the next try starts again from the shortest after a connection that was up.
    void connection(int& retrySeconds);
    // Says why a connection could not be made: TLS, or the broker not reachable.
    void failed(int rc, int error, int retrySeconds);
    void connected(int rc);
    void published(int mid);
    // Says text on standard error unless the same kind of trouble was said last.
    void trouble(const std::string& kind, const std::string& text, int retrySeconds);
    void publishAvailability();
    std::string where() const;
    void sendRetained(const std::string& topic, const std::string& payload);
    void publishAllRetained(); // again when Home Assistant announces itself

    cmdline::MqttOptions options_;
    live::DiscoverySettings discovery_;
    std::string stateTopic_, availabilityTopic_, statusTopic_;
    mosquitto* client_ = nullptr;
    std::thread thread_;
    std::atomic<bool> finished_{false};
    bool threadLeft_ = false; // still running when the program ended
    long samples_ = 0;        // samples handed to publish()

    std::mutex mutex_;         // guards what follows, shared with the network thread
    std::set<int> pending_;    // message ids of the samples queued but not yet written
    long sent_ = 0;            // samples written to the broker
    int offlineMid_ = -1;      // the closing "offline", once queued
    bool offlineSent_ = false; // ... and written
    std::string lastTrouble_, lastTroubleText_;

    std::atomic<bool> connected_{false}, answered_{false}, stop_{false}, threadEnded_{false};
    std::atomic<bool> answering_{true};
    std::string tlsError_;    // the network thread's: the TLS library's last complaint
    std::mutex retainedLock_; // guards what follows
    std::map<std::string, std::string> retained_; // topic -> latest payload (alarms)
};

} // namespace pa::cli
