// A proxy that speaks TLS and HTTP/2 and nothing else, on a free port of the loopback.
//
// usage: node http2_only.mjs CERTIFICATE KEY HOST:PORT AUTHORIZATION; prints its port once it listens.
import fs from "node:fs";
import http from "node:http";
import http2 from "node:http2";

const [certificate, key, behind, authorization] = process.argv.slice(2);
const [hostname, port] = behind.split(":");
const server = http2.createSecureServer({
    cert: fs.readFileSync(certificate),
    key: fs.readFileSync(key),
    allowHTTP1: false,
    ALPNProtocols: ["h2"],
});

server.on("stream", (stream, headers) => {
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
