// Boost.Log: a synchronous text sink on one file, a severity filter in the core,
// and a logger per thread (the library's fast way for several threads). The head
// has the shape of ours: "2026-01-02 03:04:05.678901|info:".
#include <boost/log/attributes/clock.hpp>
#include <boost/log/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/log/sinks/text_ostream_backend.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_logger.hpp>
#include <boost/log/support/date_time.hpp>
#include <boost/make_shared.hpp>
#include <fstream>
#include <iomanip>

#include "contender.h"

namespace {

namespace logging = boost::log;
namespace expr = boost::log::expressions;

enum Severity { kDebug, kInfo };

std::ostream& operator<<(std::ostream& out, Severity severity) {
    return out << (severity == kInfo ? "info" : "debug");
}

BOOST_LOG_ATTRIBUTE_KEYWORD(severity, "Severity", Severity)
BOOST_LOG_ATTRIBUTE_KEYWORD(timestamp, "TimeStamp", boost::posix_time::ptime)

typedef logging::sinks::synchronous_sink<logging::sinks::text_ostream_backend> Sink;
boost::shared_ptr<Sink> g_sink;

logging::sources::severity_logger<Severity>& ThreadLogger() {
    thread_local logging::sources::severity_logger<Severity> logger;
    return logger;
}

void Open(const std::string& dir, const char*) {
    auto backend = boost::make_shared<logging::sinks::text_ostream_backend>();
    backend->add_stream(boost::make_shared<std::ofstream>(dir + "/boost.log"));
    backend->auto_flush(false);
    g_sink = boost::make_shared<Sink>(backend);
    g_sink->set_formatter(expr::stream << expr::format_date_time(timestamp, "%Y-%m-%d %H:%M:%S.%f")
                                       << "|" << severity << ":" << expr::smessage);
    logging::core::get()->add_sink(g_sink);
    logging::core::get()->add_global_attribute("TimeStamp", logging::attributes::local_clock());
    logging::core::get()->set_filter(severity >= kInfo);
}

void Log(int index) {
    BOOST_LOG_SEV(ThreadLogger(), kInfo)
        << "message " << index << " from " << kSender << " took " << std::fixed
        << std::setprecision(3) << ValueOf(index) << " ms";
}

void LogDisabled(int calls) {
    for (int i = 0; i < calls; ++i) {
        BOOST_LOG_SEV(ThreadLogger(), kDebug)
            << "message " << i << " from " << kSender << " took " << std::fixed
            << std::setprecision(3) << ValueOf(i) << " ms";
        NextTurn();
    }
}

void Close() {
    g_sink->flush();
    logging::core::get()->remove_all_sinks();
    g_sink.reset();
}

}  // namespace

const Contender kBoostLog = {"boostlog", Open, Log, LogDisabled, Close};
