// A real OpenID provider for the tests, on a free port of the loopback: a client that signs in by itself, one that a
// person lets in by a code, short-lived tokens, and a place where a proxy asks whether a token is good.
//
// usage: node provider.mjs LIFETIME_SECONDS; prints its port once it listens.
import http from "node:http";

const lifetime = Number(process.argv[2]);
const server = http.createServer();
await new Promise((resolve) => server.listen(0, "127.0.0.1", resolve));
const { port } = server.address();
const issuer = `http://127.0.0.1:${port}`;

const { default: Provider } = await import("oidc-provider");
const provider = new Provider(issuer, {
    clients: [
        {
            client_id: "gateway-one",
            client_secret: "s3cret-of-the-client",
            grant_types: ["client_credentials"],
            redirect_uris: [],
            response_types: [],
        },
        {
            client_id: "gateway-by-code",
            application_type: "native",
            token_endpoint_auth_method: "none",
            grant_types: ["urn:ietf:params:oauth:grant-type:device_code", "refresh_token"],
            redirect_uris: [],
            response_types: [],
        },
    ],
    features: {
        clientCredentials: { enabled: true },
        deviceFlow: { enabled: true },
        devInteractions: { enabled: true },
        revocation: { enabled: true },
    },
    cookies: { keys: ["of the tests"] },
    findAccount: (_, id) => ({ accountId: id, claims: () => ({ sub: id }) }),
    issueRefreshToken: () => true,
    rotateRefreshToken: () => true,
    ttl: {
        AccessToken: () => lifetime,
        ClientCredentials: () => lifetime,
        DeviceCode: 600,
        Grant: 3600,
        IdToken: 3600,
        Interaction: 3600,
        RefreshToken: () => 3600,
        Session: 3600,
    },
});

async function isGood(authorization = "") {
    const value = authorization.replace(/^Bearer /, "");
    const ofPerson = await provider.AccessToken.find(value);
    const token = ofPerson ?? (await provider.ClientCredentials.find(value));
    const isGranted = !ofPerson || (await provider.Grant.find(ofPerson.grantId)) !== undefined;
    return token !== undefined && !token.isExpired && isGranted;
}

// What is withdrawn is every grant of the one person who was let in.
const grants = new Set();
provider.on("grant.success", (ctx) => ctx.oidc.entities.Grant && grants.add(ctx.oidc.entities.Grant.jti));

async function withdraw() {
    for (const id of grants) {
        await (await provider.Grant.find(id))?.destroy();
    }
}

let revocations = 0;
provider.on("grant.revoked", () => (revocations += 1));

const answer = provider.callback();
server.on("request", async (request, response) => {
    if (request.url === "/check") {
        response.writeHead((await isGood(request.headers.authorization)) ? 204 : 401).end();
    } else if (request.url === "/withdraw") {
        await withdraw();
        response.writeHead(204).end();
    } else if (request.url === "/revocations") {
        response.writeHead(200).end(String(revocations));
    } else {
        answer(request, response);
    }
});
console.log(port);
