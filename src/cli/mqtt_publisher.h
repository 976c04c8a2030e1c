#pragma once
// Publishes the monitor's samples to an MQTT broker with libmosquitto (its own network
// thread), so that a broker that is down or slow never holds up the live cycle.
//
// publish() only hands a message to the client's queue: while the broker cannot be reached,
// and when more than kMaxBacklog messages are still waiting to be written (a broker that
// does not keep up), the sample is dropped at once and counted. The client reconnects by
// itself with a growing pause (1 s doubling up to 30 s); at every connection it publishes
// the retained availability "online" and the discovery configs again. The broker publishes
// the retained "offline" (the last will) when the program dies, and finish() publishes it
// on a normal end and returns the summary of what was sent and what was lost.
#include "cmdline/command_options.h"
#include "live/live_cycle.h"

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <vector>

struct mosquitto;

namespace pa::cli {

class MqttPublisher {
  public:
    static constexpr int kMaxBacklog = 64;       // messages queued but not yet written
    static constexpr int kKeepAliveSeconds = 30; // the broker's check on a silent client
    static constexpr int kFirstRetrySeconds = 1, kLongestRetrySeconds = 30;
    static constexpr int kFinishWaitMs = 3000; // for the last samples and "offline" to go out

    explicit MqttPublisher(cmdline::MqttOptions options);
    ~MqttPublisher();
    MqttPublisher(const MqttPublisher&) = delete;
    MqttPublisher& operator=(const MqttPublisher&) = delete;

    // Sets up the client and starts connecting in the background; "" or why it cannot
    // (a CA file that cannot be read, a password file that cannot be read).
    std::string start();
    // One sample; never waits for the network.
    void publish(const live::Readouts& readouts);
    // A retained message beyond the samples' (an alarm's config or state): published now when
    // connected, and again at every connection; the latest payload per topic is kept.
    void publishRetained(const std::string& topic, const std::string& payload);
    // Publishes "offline", disconnects and returns the summary line.
    std::string finish();

    bool connected() const { return connected_; }
    long samples() const { return samples_; }
    long sent() const { return sent_; }

  private:
    static void onConnect(mosquitto*, void* self, int rc);
    static void onDisconnect(mosquitto*, void* self, int rc);
    static void onPublish(mosquitto*, void* self, int mid);
    void connected(int rc);
    void disconnected(int rc);
    void published();
    std::string where() const;
    void sendRetained(const std::string& topic, const std::string& payload);

    cmdline::MqttOptions options_;
    std::string stateTopic_, availabilityTopic_;
    mosquitto* client_ = nullptr;
    bool finished_ = false;
    long samples_ = 0;                   // samples handed to publish()
    std::atomic<long> queued_{0};        // state messages handed to the client
    std::atomic<long> sent_{0};          // state messages written to the broker
    std::atomic<long> dropped_{0};       // queued ones the client discarded on a reconnect
    std::atomic<int> controlPending_{0}; // availability and configs not yet written
    std::atomic<bool> connected_{false}, finishing_{false}, offlineSent_{false};
    std::atomic<bool> warnedDown_{false};
    std::mutex retainedLock_;
    std::map<std::string, std::string> retained_; // topic -> latest payload
};

} // namespace pa::cli
