print("hello")
