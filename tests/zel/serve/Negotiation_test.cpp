// Accept and Accept-Encoding.
#include "zel/serve/Negotiation.h"

#include <gtest/gtest.h>

using zel::Coding;
using zel::isAccepted;
using zel::MetricFormat;
using zel::negotiateCoding;
using zel::negotiateMetrics;

TEST(Negotiation, ScraperOfTheEcosystemGetsTheFormatThatItPrefers) {
    EXPECT_EQ(negotiateMetrics("application/openmetrics-text;version=1.0.0,application/openmetrics-text;version=0.0.1;"
                               "q=0.75,text/plain;version=0.0.4;q=0.5,*/*;q=0.1"),
              MetricFormat::OpenMetrics);
    EXPECT_EQ(negotiateMetrics("text/plain;version=0.0.4;q=0.9, application/openmetrics-text;version=1.0.0;q=0.8"),
              MetricFormat::PrometheusText);
}

TEST(Negotiation, WhoSaysNothingGetsTheOlderFormat) {
    for (const char *accept : {"", "*/*", "text/html,application/xhtml+xml,application/xml;q=0.9,*/*;q=0.8",
                               "text/*, application/*", " , ,", "text/plain"})
        EXPECT_EQ(negotiateMetrics(accept), MetricFormat::PrometheusText) << accept;
}

TEST(Negotiation, NameThatIsCloserWinsOverAWildcardOfTheSameWeight) {
    EXPECT_EQ(negotiateMetrics("*/*, application/openmetrics-text"), MetricFormat::OpenMetrics);
    EXPECT_EQ(negotiateMetrics("*/*;q=1, APPLICATION/OpenMetrics-Text; Version=\"1.0.0\"; charset=utf-8"),
              MetricFormat::OpenMetrics);
}

TEST(Negotiation, WeightOfTheClosestPartCounts) {
    EXPECT_EQ(negotiateMetrics("text/plain;q=0.1, */*;q=0.9"), MetricFormat::OpenMetrics);
    EXPECT_EQ(negotiateMetrics("application/openmetrics-text;q=0, */*"), MetricFormat::PrometheusText);
    EXPECT_EQ(negotiateMetrics("text/plain;q=0.301, application/openmetrics-text;q=0.3"), MetricFormat::PrometheusText);
}

TEST(Negotiation, NothingThatThereIsIsAccepted) {
    for (const char *accept : {"application/json", "text/plain;q=0, application/openmetrics-text;q=0.0", "*/*;q=0",
                               "text/plain;version=0.0.3", "application/openmetrics-text;version=0.0.1", "image/*"})
        EXPECT_EQ(negotiateMetrics(accept), std::nullopt) << accept;
}

TEST(Negotiation, PartThatIsNotFormedIsLeftOut) {
    EXPECT_EQ(negotiateMetrics("text/plain;q=7, application/openmetrics-text;q=0.2"), MetricFormat::OpenMetrics);
    EXPECT_EQ(negotiateMetrics("application/openmetrics-text;q=1.001, text/plain"), MetricFormat::PrometheusText);
    EXPECT_EQ(negotiateMetrics("\"unended, application/json"), MetricFormat::PrometheusText);
    EXPECT_EQ(negotiateMetrics("application/json;title=\"a,text/plain\""), std::nullopt);
}

TEST(Negotiation, MediaTypeOfAnAnswer) {
    EXPECT_TRUE(isAccepted("", "application/json"));
    EXPECT_TRUE(isAccepted("application/*;q=0.1", "application/json"));
    EXPECT_FALSE(isAccepted("text/plain", "application/json"));
    EXPECT_FALSE(isAccepted("application/json;q=0, */*", "application/json"));
}

TEST(Negotiation, CodingOfTheHighestWeight) {
    EXPECT_EQ(negotiateCoding("gzip"), Coding::Gzip);
    EXPECT_EQ(negotiateCoding("gzip, deflate, br, zstd"), Coding::Zstd);
    EXPECT_EQ(negotiateCoding("zstd;q=0.5, gzip;q=0.8"), Coding::Gzip);
    EXPECT_EQ(negotiateCoding("X-GZIP"), Coding::Gzip);
    EXPECT_EQ(negotiateCoding("gzip;q=0.5, identity"), Coding::Identity);
    EXPECT_EQ(negotiateCoding("*"), Coding::Zstd);
    EXPECT_EQ(negotiateCoding("*, zstd;q=0"), Coding::Gzip);
}

TEST(Negotiation, NoCodingWhereNoneIsAsked) {
    for (const char *accept : {"", "br", "deflate;q=1", "identity", "gzip;q=0", "gzip;q=x"})
        EXPECT_EQ(negotiateCoding(accept), Coding::Identity) << accept;
}

TEST(Negotiation, NotEvenThePlainTextIsAccepted) {
    for (const char *accept : {"identity;q=0", "*;q=0", "br, identity;q=0", "*;q=0, br"})
        EXPECT_EQ(negotiateCoding(accept), std::nullopt) << accept;
    EXPECT_EQ(negotiateCoding("*;q=0, gzip"), Coding::Gzip);
}
