-- A wrk script: one method of the API, called over and over. What it needs comes by the
-- environment. Prints the request rate, percentiles, and what failed, on one line.
wrk.method = "POST"
wrk.body = os.getenv("BODY")
wrk.headers["Content-Type"] = "application/json"
wrk.headers["Cookie"] = os.getenv("COOKIE")
wrk.headers["X-Kavo-Token"] = os.getenv("TOKEN")

function done(summary, latency, requests)
  local errors = summary.errors
  io.stderr:write(string.format(
    "%-28s %7d requests %7.0f/s  median %6.2f ms  99%% %6.2f ms  failed: %d connects, %d reads, %d writes, %d timeouts, %d statuses\n",
    os.getenv("TITLE"), summary.requests, summary.requests * 1e6 / summary.duration,
    latency:percentile(50) / 1000, latency:percentile(99) / 1000,
    errors.connect, errors.read, errors.write, errors.timeout, errors.status))
end
