// A proxy that speaks TLS and HTTP/2 and nothing else, on a free port of the loopback.
//
// usage: node http2_only.mjs CERTIFICATE KEY HOST:PORT AUTHORIZATION [BYTES]; prints its port once it listens.
// A larger body it refuses at once (413), and ends the stream without having read it (RFC 9113 8.1).
import fs from "node:fs";
import http from "node:http";
import http2 from "node:http2";

const [certificate, key, behind, authorization, limit = "Infinity"] = process.argv.slice(2);
const [hostname, port] = behind.split(":");
const server = http2.createSecureServer({
    cert: fs.readFileSync(certificate),
    key: fs.readFileSync(key),
    allowHTTP1: false,
    ALPNProtocols: ["h2"],
});

server.on("stream", (stream, headers) => {
    if (Number(headers["content-length"] ?? 0) > Number(limit)) {
        stream.respond({ ":status": 413 }, { endStream: true });
        stream.close(http2.constants.NGHTTP2_CANCEL);
        return;
    }
    const kept = Object.entries(headers).filter(([name]) => !name.startsWith(":"));
    const onward = http.request(
        {
            hostname,
            port,
            path: headers[":path"],
            method: headers[":method"],
            headers: { ...Object.fromEntries(kept), authorization },
        },
        (answer) => {
            const { connection, "keep-alive": alive, "transfer-encoding": coding, ...told } = answer.headers;
            stream.respond({ ":status": answer.statusCode, ...told });
            answer.pipe(stream);
        },
    );
    onward.on("error", () => stream.close());
    stream.on("error", () => onward.destroy());
    stream.pipe(onward);
});
server.listen(0, "127.0.0.1", () => console.log(server.address().port));
