-- Requests of wrk to the console: pages that are read, and one in ten that writes. After LOAD_REQUESTS
-- answers "enough" is printed; the test then interrupts wrk, and the findings are printed, one a line.
-- The environment gives LOAD_REQUESTS, LOAD_AUTHORIZATION and LOAD_TOKEN.
local limit = tonumber(os.getenv("LOAD_REQUESTS"))
local authorization = os.getenv("LOAD_AUTHORIZATION")
local token = os.getenv("LOAD_TOKEN"):gsub("%$", "%%24"):gsub("/", "%%2F")

local pages = {
    "/lan.cgi", "/status.cgi", "/forwards.cgi", "/lan.cgi", "/hosts.cgi", "/schedules.cgi",
    "/lan.cgi", "/console.css", "/vpn.cgi"
}
-- The values differ in length: a reader must never see a mixture of them.
local leases = {"7", "720", "48"}

local form = "token=" .. token .. "&form=network&device_name=router&domain_name=home.example" ..
    "&address=192.168.1.1&netmask=255.255.255.0&dhcp=1&dhcp_range=100-199&dhcp_lease="

local threads = {}
answers = 0   -- globals of a thread: done() asks for them
writes = 0
refused = 0
empty = 0
torn = 0
failed = 0

function setup(thread)
    table.insert(threads, thread)
end

local sent = 0

function request()
    sent = sent + 1
    local headers = {["Authorization"] = authorization}
    if sent % 10 == 0 then
        headers["Content-Type"] = "application/x-www-form-urlencoded"
        return wrk.format("POST", "/lan.cgi", headers, form .. leases[sent / 10 % #leases + 1])
    end
    return wrk.format("GET", pages[sent % 10], headers)
end

-- What the page shows as the lease must be a stored value. 24 is its fallback for an item that is
-- empty, as one is while it is rewritten; anything else is torn.
local function look_at_lease(body)
    local lease = body:match('value="(%d*)" inputmode="numeric" id="dhcp_lease"')
    if lease == "24" then
        empty = empty + 1
    elseif lease ~= "7" and lease ~= "720" and lease ~= "48" then
        torn = torn + 1
    end
end

function response(status, headers, body)
    answers = answers + 1
    if status ~= 200 then
        failed = failed + 1
    elseif body:find("<h1>LAN</h1>", 1, true) then
        look_at_lease(body)
        if body:find('class="good"', 1, true) or body:find('class="same"', 1, true) then
            writes = writes + 1
        elseif body:find('class="bad"', 1, true) then
            refused = refused + 1
        end
    end
    if answers == limit then
        io.write("enough\n")
        io.flush()
    end
end

function done(summary)
    local errors = summary.errors
    for _, name in ipairs({"answers", "writes", "refused", "empty", "torn", "failed"}) do
        io.write(name, " ", threads[1]:get(name), "\n")
    end
    io.write("broken ", errors.connect + errors.read + errors.write + errors.timeout, "\n")
end
