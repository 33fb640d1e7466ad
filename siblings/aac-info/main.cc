// aac-info -i FILE: prints play time, sample rate, channels and bit rate of an AAC file as one line,
//     AAC duration;12.500000;samplerate;44100;channel;2;bitrate;128000;
// and exits with 0; prints nothing and exits with 1 when the file holds no AAC. The file is read once and, apart
// from the few frames that tell the channels, not decoded. Whoever calls this waits for it, so a file that makes
// the demuxer loop or grow ends the program.
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/resource.h>
#include <unistd.h>

#include <string>

extern "C" {
#include <libavformat/avformat.h>
}

static constexpr unsigned SECONDS_MAX = 60;
static constexpr rlim_t MEMORY_MAX = 512u << 20;
static constexpr int ADTS_RATES[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                     22050, 16000, 12000, 11025, 8000,  7350};
static constexpr int SAMPLES_PER_BLOCK = 1024;

struct AacTotals {
    double seconds;
    double bytes;
};

static void LimitsSet()
{
#ifndef __SANITIZE_ADDRESS__  // which maps terabytes for itself
    rlimit memory = {MEMORY_MAX, MEMORY_MAX};
    (void)setrlimit(RLIMIT_AS, &memory);
#endif
    (void)alarm(SECONDS_MAX);
}

// A frame with an ADTS header states its own length in samples, at the rate of the core coder: with spectral
// band replication the decoder's rate is twice that, and the demuxer's durations are half of the truth.
static double PacketSeconds(const AVPacket *packet, const AVStream *stream)
{
    const uint8_t *data = packet->data;
    if (packet->size >= 7 && data[0] == 0xFF && (data[1] & 0xF6) == 0xF0) {
        size_t rate_index = data[2] >> 2 & 0x0F;
        int blocks = (data[6] & 3) + 1;
        if (rate_index < sizeof ADTS_RATES / sizeof *ADTS_RATES)
            return static_cast<double>(blocks * SAMPLES_PER_BLOCK) / ADTS_RATES[rate_index];
    }
    return static_cast<double>(packet->duration) * av_q2d(stream->time_base);
}

static AacTotals StreamSum(AVFormatContext *format, int index)
{
    AacTotals totals = {};
    AVPacket *packet = av_packet_alloc();
    while (packet && av_read_frame(format, packet) >= 0) {
        if (packet->stream_index == index) {
            totals.seconds += PacketSeconds(packet, format->streams[index]);
            totals.bytes += packet->size;
        }
        av_packet_unref(packet);
    }
    av_packet_free(&packet);
    return totals;
}

static bool AacPrint(AVFormatContext *format)
{
    if (avformat_find_stream_info(format, nullptr) < 0)
        return false;
    int index = av_find_best_stream(format, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    if (index < 0)
        return false;
    const AVCodecParameters *codec = format->streams[index]->codecpar;
    if (codec->codec_id != AV_CODEC_ID_AAC && codec->codec_id != AV_CODEC_ID_AAC_LATM)
        return false;
    AacTotals totals = StreamSum(format, index);
    if (!(totals.seconds > 0))
        return false;
    printf("AAC duration;%f;samplerate;%d;channel;%d;bitrate;%d;\n", totals.seconds, codec->sample_rate,
           codec->ch_layout.nb_channels, static_cast<int>(totals.bytes * 8 / totals.seconds));
    return fflush(stdout) == 0;
}

int main(int argc, char **argv)
{
    if (argc != 3 || strcmp(argv[1], "-i") != 0) {
        fprintf(stderr, "usage: %s -i FILE\n", argv[0]);
        return 2;
    }
    LimitsSet();
    av_log_set_level(AV_LOG_QUIET);
    AVDictionary *options = nullptr;
    av_dict_set(&options, "format_whitelist", "aac,loas,mov,mp4", 0);  // raw in two forms, and in a container
    av_dict_set(&options, "protocol_whitelist", "file", 0);
    AVFormatContext *format = nullptr;
    std::string url = std::string("file:") + argv[2];  // never another protocol, whatever the name looks like
    int result = avformat_open_input(&format, url.c_str(), nullptr, &options);
    av_dict_free(&options);
    if (result < 0)
        return 1;
    bool is_printed = AacPrint(format);
    avformat_close_input(&format);
    return is_printed ? 0 : 1;
}
