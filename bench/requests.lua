-- A wrk script: one call over and over; prints how many were answered well.
wrk.method = "POST"
wrk.body = os.getenv("BODY")
wrk.headers["Content-Type"] = "application/json"
wrk.headers["Cookie"] = os.getenv("COOKIE")
wrk.headers["X-Kavo-Token"] = os.getenv("TOKEN")

function done(summary)
  io.write(string.format("answered %d\n", summary.requests - summary.errors.status))
end
