print('hello')
