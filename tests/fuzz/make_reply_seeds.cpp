// Writes the seed corpora of the reply fuzz targets: marshalled replies such as the service
// sends, and a few that it should not. Usage: make_reply_seeds CORPUS_DIR
#include <KopaLocationInfo.h>
#include <KopaMeasurements.h>
#include <KopaPosition.h>
#include <dbus/dbus.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace {

std::string corpus;

DBusMessage* methodReturn() {
    DBusMessage* call =
        dbus_message_new_method_call("com.ruvex.location.kopad", "/com/ruvex/location/kopad",
                                     "com.ruvex.location.kopad", "currentPosition");
    dbus_message_set_serial(call, 7);
    DBusMessage* reply = dbus_message_new_method_return(call);
    dbus_message_unref(call);
    dbus_message_set_serial(reply, 8);
    return reply;
}

DBusMessage* stringReply(const std::string& text) {
    DBusMessage* reply = methodReturn();
    const char* data = text.c_str();
    dbus_message_append_args(reply, DBUS_TYPE_STRING, &data, DBUS_TYPE_INVALID);
    return reply;
}

void write(const std::string& path, const std::string& prefix, DBusMessage* message) {
    char* bytes = nullptr;
    int length = 0;
    dbus_message_marshal(message, &bytes, &length);
    std::ofstream out(corpus + "/" + path, std::ios::binary);
    out << prefix;
    out.write(bytes, length);
    dbus_free(bytes);
    dbus_message_unref(message);
}

void writeText(const std::string& path, const std::string& text) {
    std::ofstream out(corpus + "/" + path, std::ios::binary);
    out << text;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_reply_seeds CORPUS_DIR\n");
        return 2;
    }
    corpus = argv[1];

    KopaPosition position;
    position.setLatitude(60.1699);
    position.setLongitude(24.9384);
    position.setHorizontalAccuracy(12.5);
    position.setTimestamp(1763880000123);
    position.setMethod(KopaPositionMethod::Gnss);
    std::string positionText;
    position.externalize(positionText);

    KopaMeasurements measurements;
    KopaCellObservation cell;
    cell.countryCode = 244;
    cell.networkCode = 91;
    cell.areaCode = 4801;
    cell.cellId = 123456;
    cell.signalStrength = -85;
    measurements.addCell(cell);
    KopaWlanObservation wlan;
    wlan.bssid = "00:11:22:aa:bb:cc";
    wlan.signalStrength = -60;
    measurements.addWlan(wlan);
    std::string measurementsText;
    measurements.externalize(measurementsText);

    const std::string asPosition(1, '\0');
    const std::string asLocationInfo(1, '\1');
    const std::string asOtherType2(1, '\2');
    write("parse_position_reply/position", asPosition, stringReply(positionText));
    write("parse_position_reply/location_info", asLocationInfo, stringReply(positionText));
    write("parse_position_reply/not_location_info", asOtherType2, stringReply(positionText));
    write("parse_position_reply/no_arguments", asPosition, methodReturn());
    DBusMessage* extra = stringReply(positionText);
    dbus_int32_t number = 3;
    dbus_message_append_args(extra, DBUS_TYPE_INT32, &number, DBUS_TYPE_INVALID);
    write("parse_position_reply/extra_argument", asPosition, extra);
    DBusMessage* int32First = methodReturn();
    dbus_message_append_args(int32First, DBUS_TYPE_INT32, &number, DBUS_TYPE_INVALID);
    write("parse_position_reply/int32_first", asLocationInfo, int32First);

    write("parse_measurements_reply/measurements", "", stringReply(measurementsText));
    write("parse_measurements_reply/empty_string", "", stringReply(""));
    write("parse_measurements_reply/no_arguments", "", methodReturn());

    writeText("parse_error_reply/service_code", std::string(1, '\0') + "(42) refused");
    writeText("parse_error_reply/code_later", std::string(1, '\0') + "not found (54)");
    writeText("parse_error_reply/nested", std::string(1, '\0') + "((45))(46)");
    writeText("parse_error_reply/no_reply", std::string(1, '\1') + "timed out");
    writeText("parse_error_reply/other_case", std::string(1, '\2') + "(43)");
    writeText("parse_error_reply/named",
              std::string(1, '\3') + "org.freedesktop.DBus.Error.Failed\n(44)");
    return 0;
}
