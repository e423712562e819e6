#include "tests/support/web_server.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <stdexcept>
#include <strings.h>
#include <sys/wait.h>
#include <unistd.h>

namespace cw::test_support {

namespace {

constexpr std::size_t period = 65521; // as in web_server.py

struct server_row {
    test_certificates::server kind;
    const char* name;
    const char* subject_name;
    const char* end_date;
};
constexpr std::array server_rows{
    server_row{test_certificates::server::good, "good", "DNS:localhost,IP:127.0.0.1,IP:::1", "21000101000000Z"},
    server_row{test_certificates::server::expired, "expired", "DNS:localhost,IP:127.0.0.1", "20010101000000Z"},
    server_row{test_certificates::server::wrong_name, "wrong-name", "DNS:elsewhere.example", "21000101000000Z"},
};
constexpr const char* self_signed_name = "self-signed";

const char* name_of(test_certificates::server kind)
{
    for (const server_row& row : server_rows)
        if (row.kind == kind)
            return row.name;
    return self_signed_name;
}

void run(const std::string& command)
{
    if (std::system((command + " >/dev/null 2>&1").c_str()) != 0)
        throw std::runtime_error("failed: " + command);
}

void refuse_unless(bool is_well, const char* what)
{
    if (!is_well)
        throw std::runtime_error(std::string("web server: ") + what);
}

/// The script writes what is no plain ASCII as Python does.
std::string without_escapes(std::string_view text)
{
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            plain += text[i];
            continue;
        }
        switch (text[++i]) {
        case 't':
            plain += '\t';
            break;
        case 'r':
            plain += '\r';
            break;
        case 'n':
            plain += '\n';
            break;
        case 'x':
            plain += static_cast<char>(std::stoi(std::string(text.substr(i + 1, 2)), nullptr, 16));
            i += 2;
            break;
        default:
            plain += text[i];
        }
    }
    return plain;
}

web_request parse(std::string_view text)
{
    constexpr std::string_view body_mark = "\t\vbody: ";
    web_request request;
    const std::size_t body = text.find(body_mark);
    request.body = text.substr(body + body_mark.size());
    text = text.substr(0, body);
    std::vector<std::string> fields;
    while (true) {
        const std::size_t end = text.find('\t');
        fields.emplace_back(text.substr(0, end));
        if (end == std::string_view::npos)
            break;
        text.remove_prefix(end + 1);
    }
    request.connection = std::stoul(fields.at(0));
    request.line = fields.at(1);
    for (std::size_t i = 2; i < fields.size(); ++i) {
        const std::size_t colon = std::min(fields[i].find(':'), fields[i].size());
        const std::size_t value = std::min(fields[i].find_first_not_of(' ', colon + 1), fields[i].size());
        request.headers.emplace_back(fields[i].substr(0, colon), fields[i].substr(value));
    }
    return request;
}

} // namespace

const test_certificates& test_certificates::instance()
{
    static const test_certificates only;
    return only;
}

test_certificates::test_certificates()
{
    const std::string folder = m_folder.path().native();
    const std::string new_key =
        "cd '" + folder + "' && openssl req -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes ";
    run(new_key + "-x509 -days 3650 -subj /CN=Authority -keyout authority.key -out authority.pem");
    run(new_key + "-x509 -days 3650 -subj /CN=localhost -addext 'subjectAltName=DNS:localhost,IP:127.0.0.1' -keyout " +
        self_signed_name + ".key -out " + self_signed_name + ".pem");
    m_folder.write("authority.cnf", "[ca]\ndefault_ca=it\n[it]\ndatabase=index\nserial=serial\nnew_certs_dir=.\n"
                                    "default_md=sha256\npolicy=any\nunique_subject=no\ncopy_extensions=copy\n"
                                    "[any]\ncommonName=supplied\n");
    m_folder.write("index", "");
    m_folder.write("serial", "01\n");
    for (const server_row& row : server_rows) {
        const std::string name = row.name;
        run(new_key + "-subj /CN=" + name + " -addext 'subjectAltName=" + row.subject_name + "' -keyout " + name +
            ".key -out " + name + ".csr");
        run("cd '" + folder +
            "' && openssl ca -batch -config authority.cnf -cert authority.pem -keyfile authority.key" +
            " -startdate 20000101000000Z -enddate " + row.end_date + " -in " + name + ".csr -out " + name + ".pem");
    }
}

std::string test_certificates::certificate(server kind) const
{
    return m_folder.file(std::string(name_of(kind)) + ".pem");
}

std::string test_certificates::key(server kind) const
{
    return m_folder.file(std::string(name_of(kind)) + ".key");
}

std::optional<std::string> web_request::header(std::string_view name) const
{
    for (const auto& [key, value] : headers)
        if (key.size() == name.size() && strncasecmp(key.data(), name.data(), name.size()) == 0)
            return value;
    return std::nullopt;
}

web_server::web_server(test_certificates::server kind)
    : web_server(std::vector<std::string>{test_certificates::instance().certificate(kind),
                                          test_certificates::instance().key(kind)})
{
}

web_server::web_server(const std::vector<std::string>& arguments) : m_scheme(arguments.empty() ? "http" : "https")
{
    int to[2];
    int from[2];
    refuse_unless(pipe2(to, O_CLOEXEC) == 0 && pipe2(from, O_CLOEXEC) == 0, "no pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, to[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, from[1], STDOUT_FILENO);
    std::vector<std::string> words{"python3", CW_TEST_WEB_SERVER};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    const int failure = posix_spawnp(&m_child, "python3", &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(to[0]);
    close(from[1]);
    m_to = fdopen(to[1], "w");
    m_from = fdopen(from[0], "r");
    refuse_unless(failure == 0 && m_to && m_from, "it does not start");
    m_port = static_cast<std::uint16_t>(std::stoi(line()));
}

web_server::~web_server()
{
    std::fclose(m_to);
    std::fclose(m_from);
    while (waitpid(m_child, nullptr, 0) < 0 && errno == EINTR) {
    }
}

std::string web_server::line()
{
    std::string text;
    for (int byte = std::getc(m_from); byte != '\n'; byte = std::getc(m_from)) {
        refuse_unless(byte != EOF, "it has ended");
        text += static_cast<char>(byte);
    }
    return text;
}

std::string web_server::command(const char* text)
{
    refuse_unless(std::fprintf(m_to, "%s\n", text) > 0 && std::fflush(m_to) == 0, "it takes no commands");
    return line();
}

std::string web_server::address(std::string_view path) const
{
    return m_scheme + "://127.0.0.1:" + std::to_string(m_port) + std::string(path);
}

std::u16string web_server::wide_address(std::string_view path) const
{
    const std::string narrow = address(path);
    return {narrow.begin(), narrow.end()};
}

std::vector<web_request> web_server::requests()
{
    std::vector<web_request> all;
    for (int left = std::stoi(command("requests")); left > 0; --left)
        all.push_back(parse(without_escapes(line())));
    return all;
}

std::string web_server::content(std::size_t first, std::size_t count)
{
    std::string bytes(count, '\0');
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t place = (first + i) % period;
        bytes[i] = static_cast<char>((place * 131 + (place >> 8) * 17) & 255);
    }
    return bytes;
}

} // namespace cw::test_support
